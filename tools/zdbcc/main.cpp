// The command-line tool.
#include "runtool.h"

int main(int argc, char** argv) {
  return zdb::tool::runTool({argv + (argc > 0 ? 1 : 0), argv + argc});
}

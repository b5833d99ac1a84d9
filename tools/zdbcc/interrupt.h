#pragma once

namespace zdb::tool {

/// While one exists, the first Ctrl-C is remembered, so that what is done can be kept, and the
/// second ends the program at once. They may be nested; the last to go restores what Ctrl-C does
/// otherwise. For one thread.
class Interrupt {
 public:
  Interrupt();
  /// The first Ctrl-C also stops the solves of a model instance (zkitTerminate()), which must
  /// outlive this: the one that runs, and any that is begun later.
  explicit Interrupt(void* instance);
  ~Interrupt();
  Interrupt(const Interrupt&) = delete;
  Interrupt& operator=(const Interrupt&) = delete;

  /// Whether there has been a Ctrl-C.
  static bool isRequested();

 private:
  void* outerInstance_;
};

}  // namespace zdb::tool

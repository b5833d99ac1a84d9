// What a model can do while it is read, on this kernel and on kernels that lack a part.
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>

#include "modelfile_testing.h"

namespace {

using namespace zdb::test::modelfile;

constexpr long kCreateRuleset = 444;  // of Landlock, which older headers do not name
constexpr long kNoCall = -1;

// Has system calls fail as they do where the kernel does not know them, here and in what is started
// from here.
void lose(const std::vector<long>& calls) {
  std::vector<sock_filter> program = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
  for (const long call : calls) {
    program.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(call), 0, 1));
    program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS));
  }
  program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
  const sock_fprog filter = {static_cast<unsigned short>(program.size()), program.data()};
  ASSERT_EQ(prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), 0);
  ASSERT_EQ(prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter), 0);
}

void expectConfinement(bool hasLandlock, bool hasSeccomp) {
  const TemporaryFolder folder;
  const std::string victim = folder.write("victim", "content");
  const std::string ordinary = "var x; minimize z: x; printf \"x > 1\";";
  const std::string foreign = "printf \"lost\" > \"" + victim + "\";" + ordinary;
  char possible[ZKIT_TEXT_SIZE];
  const int strength = zkitConfinement(possible, sizeof possible);
  EXPECT_EQ(strength, (hasLandlock ? 1 : 0) + (hasSeccomp ? 1 : 0));
  const std::string files = hasLandlock ? "" : "read files, create files";
  const std::string others = hasSeccomp    ? ""
                             : hasLandlock ? "open sockets, start processes"
                                           : ", open sockets, start processes, execute programs";
  EXPECT_EQ(possible, files + others);
  const bool isRead = strength != ZKIT_UNCONFINED;
  const std::string refusal = isRead ? "a.mod:1: unable to open '" + victim + "'"
                                     : "a.mod: this system has neither Landlock nor";
  EXPECT_EQ(errorOf("a.mod", ordinary).substr(0, refusal.size()), isRead ? "" : refusal);
  EXPECT_EQ(errorOf("a.mod", foreign).substr(0, refusal.size()), refusal);
  EXPECT_EQ(readFile(victim), "content");
  EXPECT_EQ(errorOf("a.mod", foreign, {.files = true}), "");
  EXPECT_EQ(readFile(victim), "lost");
}

TEST(ModelFileConfinement, KernelThatLacksAPart_IsSaidAndFilesAreRefused) {
  const bool hasLandlock = syscall(kCreateRuleset, nullptr, 0, 1) > 0;
  std::printf("confinement here: %s\n", hasLandlock ? "full" : "partial, without Landlock");
  std::fflush(stdout);
  for (const bool landlock : {true, false}) {
    for (const bool seccomp : {true, false}) {
      const auto work = [&] {
        lose({landlock ? kNoCall : kCreateRuleset, seccomp ? kNoCall : SYS_seccomp});
        expectConfinement(landlock && hasLandlock, seccomp);
        std::fflush(stdout);
        _exit(HasFailure() ? 1 : 0);
      };
      EXPECT_EXIT(work(), testing::ExitedWithCode(0), "")
          << "Landlock " << landlock << ", seccomp " << seccomp;
    }
  }
}

}  // namespace

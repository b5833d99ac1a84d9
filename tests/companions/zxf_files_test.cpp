// What may be opened, and what a target is replaced by. The fault loop sees to the rest.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "zxf_testing.h"

namespace {

using namespace zdb::test::zxf;
namespace fs = std::filesystem;

// A folder with the small content in "a".
class ZxfFiles : public testing::Test {
 protected:
  ZxfFiles() { writeContent(a_, smallContent()); }

  const TemporaryFolder folder_;
  const std::string a_ = folder_.path("a");
};

TEST_F(ZxfFiles, LinksAreFollowed_WhetherTheirTargetExistsOrNot) {
  fs::create_symlink("a", folder_.path("link"));
  fs::create_symlink("absent", folder_.path("dangling"));
  writeContent(folder_.path("link"), {});
  writeContent(folder_.path("dangling"), smallContent());
  EXPECT_EQ(readContent(a_), Content{});
  EXPECT_EQ(readContent(folder_.path("absent")), smallContent());
  EXPECT_EQ(namesIn(folder_), (std::vector<std::string>{"a", "absent", "dangling", "link"}));
  EXPECT_TRUE(fs::is_symlink(folder_.path("link")));
}

// Replacing needs rights on the folder only, so the file's own bits have to be asked.
TEST_F(ZxfFiles, WriteProtectedTarget_IsRefused) {
  ASSERT_EQ(chmod(a_.c_str(), 0444), 0);
  ASSERT_EQ(chmod(folder_.path().c_str(), 0777), 0);
  const uid_t user = geteuid();
  constexpr uid_t kNobody = 65534;  // permissions do not bind the superuser
  ASSERT_EQ(seteuid(user == 0 ? kNobody : user), 0);
  const Zxf zxf;
  EXPECT_EQ(zxf.openWrite(a_), static_cast<int>(Errc::CannotOpenFile));
  EXPECT_EQ(zxf.openWrite(folder_.path("b")), 0);
  EXPECT_EQ(C__zxfClose(zxf), 1);
  ASSERT_EQ(seteuid(user), 0);
}

TEST_F(ZxfFiles, FileThatShrinksWhileOpen_GivesAnErrorOnce) {
  const Symbol noise = column("noise", 50000, [](int i) { return 1.0 / (i + 1); });
  writeContent(a_, {makeLabels(50000), {}, {noise}});
  const Zxf zxf;
  ASSERT_EQ(zxf.openRead(a_), 0);
  int count = 0;
  ASSERT_EQ(C__zxfDataReadRawStart(zxf, 1, &count), 1);
  ASSERT_EQ(truncate(a_.c_str(), 200), 0);
  int key = 0;
  double value = 0;
  int changed = 0;
  int read = 0;
  while (C__zxfDataReadRaw(zxf, &key, &value, &changed) == 1) ++read;
  EXPECT_LT(read, count);
  EXPECT_EQ(C__zxfDataReadRaw(zxf, &key, &value, &changed), 0);
  EXPECT_EQ(zxf.takeErrors(), std::vector<int>{static_cast<int>(Errc::TruncatedFile)});
}

}  // namespace

// Reads the bytes of tables and cpuinfo.
#include <sys/stat.h>
#include <unistd.h>
#include "host/host_files.h"

#include <array>

#include "support.h"

namespace cimd::test {
namespace {

namespace fs = std::filesystem;

TEST(HostFiles, BytesAreReadUnchanged) {
  const TemporaryDirectory directory;
  const std::string bytes("\0\xFF\r\n", 4);
  directory.write("smbios_entry_point", bytes + "1");
  directory.write("DMI", bytes + "2");
  directory.write("cpuinfo", bytes + "3");
  const HostBytes host = readHostBytes(recordedHost(directory.path()));
  EXPECT_EQ(host.entryPoint, bytes + "1");
  EXPECT_EQ(host.table, bytes + "2");
  EXPECT_EQ(host.cpuinfo, bytes + "3");
  EXPECT_FALSE(host.areTablesUnreadable);
  EXPECT_THAT(host.messages, IsEmpty());
}

TEST(HostFiles, MissingFilesAreNotAnError) {
  const TemporaryDirectory directory;
  const fs::path file = directory.write("file", "");
  for (const fs::path& place : {directory.path(), directory.path() / "missing", file}) {
    const HostBytes host = readHostBytes(recordedHost(place));
    EXPECT_FALSE(host.entryPoint || host.table || host.cpuinfo) << place;
    EXPECT_FALSE(host.areTablesUnreadable) << place;
    EXPECT_THAT(host.messages, IsEmpty()) << place;
  }
}

TEST(HostFiles, TheNameIsThatOfThisHost) {
  std::array<char, 256> name{};
  ASSERT_EQ(gethostname(name.data(), name.size() - 1), 0);
  EXPECT_EQ(readHostBytes(recordedHost("/nonexistent")).hostName, name.data());
}

TEST(HostFiles, TheKernelsCpuinfoIsReadThoughItHasNoSize) {
  HostSources sources;
  sources.tablesDirectory = "/nonexistent";
  const HostBytes host = readHostBytes(sources);
  ASSERT_TRUE(host.cpuinfo);
  EXPECT_GT(host.cpuinfo->size(), 10U);
}

// There is no writer: neither opening nor reading may wait for one.
TEST(HostFiles, APipeIsRefusedWithoutWaiting) {
  const TemporaryDirectory directory;
  directory.write("smbios_entry_point", "x");
  const fs::path pipe = directory.path() / "DMI";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  const HostBytes host = readHostBytes(recordedHost(directory.path()));
  EXPECT_FALSE(host.table);
  EXPECT_TRUE(host.areTablesUnreadable);
  EXPECT_THAT(host.messages, ElementsAre(pipe.string() + " is not a regular file"));
}

TEST(HostFiles, ADeviceWithoutEndIsRefused) {
  HostSources sources;
  sources.tablesDirectory = "/nonexistent";
  sources.cpuinfo = "/dev/zero";
  const HostBytes host = readHostBytes(sources);
  EXPECT_FALSE(host.cpuinfo);
  EXPECT_FALSE(host.areTablesUnreadable) << "cpuinfo is not a table";
  EXPECT_THAT(host.messages, ElementsAre("/dev/zero is not a regular file"));
}

TEST(HostFiles, ADirectoryIsRefused) {
  const TemporaryDirectory directory;
  fs::create_directory(directory.path() / "smbios_entry_point");
  const HostBytes host = readHostBytes(recordedHost(directory.path()));
  EXPECT_TRUE(host.areTablesUnreadable);
  EXPECT_EQ(host.messages.size(), 1U);
}

TEST(HostFiles, TheirSizeIsLimited) {
  const TemporaryDirectory directory;
  for (const char* name : {"DMI", "smbios_entry_point", "cpuinfo"}) {
    fs::resize_file(directory.write(name, ""), std::uintmax_t{1} << 40U);
  }
  const HostBytes host = readHostBytes(recordedHost(directory.path()));
  EXPECT_FALSE(host.entryPoint || host.table || host.cpuinfo);
  EXPECT_TRUE(host.areTablesUnreadable);
  EXPECT_THAT(host.messages, ElementsAre(EndsWith("entry_point is larger than 4 MiB"),
                                         EndsWith("DMI is larger than 4 MiB"),
                                         EndsWith("cpuinfo is larger than 32 MiB")));
}

// ELOOP represents every reason other than absence, since root, who may run the tests, may read
// all.
TEST(HostFiles, ReasonIsReportedWhenOneCannotBeOpened) {
  const TemporaryDirectory directory;
  fs::create_symlink("DMI", directory.path() / "DMI");
  const HostBytes host = readHostBytes(recordedHost(directory.path()));
  EXPECT_TRUE(host.areTablesUnreadable);
  EXPECT_THAT(host.messages, ElementsAre("cannot open " + (directory.path() / "DMI").string() +
                                         ": Too many levels of symbolic links"));
}

}  // namespace
}  // namespace cimd::test

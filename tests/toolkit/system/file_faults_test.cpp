// File calls that go wrong the way disks, signals and file systems make them
// go wrong. This binary is linked with the system's write, read, fsync and
// link wrapped (see CMakeLists.txt), so each test can script what the next
// calls of the toolkit's own code return.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdarg>
#include <deque>
#include <string>

#include "status.h"
#include "system/byte_sink.h"
#include "system/export_file.h"
#include "system/file_calls.h"
#include "system/project_lock.h"
#include "closed_input.h"
#include "fixture_builder.h"
#include "message_capture.h"
#include "project/vorlan.h"
#include "system/rename_package.h"
#include "temp_dir.h"
#include "world/morvik.h"

namespace {

// What the next calls return: an errno to fail with, kShort to do the call
// for one byte only, or (for open) kNotZero to have descriptor 0 taken
// while the call runs; calls past the script behave normally.
constexpr int kShort = -1, kNotZero = -2;
std::deque<int> writes, reads, syncs, links, opens, closes;
int folderSyncs = 0;  // fsync calls on folders that succeeded

int next(std::deque<int>& script) {
  if (script.empty()) return 0;
  int outcome = script.front();
  script.pop_front();
  return outcome;
}

}  // namespace

extern "C" {
ssize_t __real_write(int, const void*, size_t);
int __real_open(const char*, int, ...);
int __real_close(int);
ssize_t __real_read(int, void*, size_t);
int __real_fsync(int);
int __real_link(const char*, const char*);

ssize_t __wrap_write(int fd, const void* data, size_t size) {
  int outcome = next(writes);
  if (outcome == kShort) return __real_write(fd, data, size > 0 ? 1 : 0);
  if (outcome == 0) return __real_write(fd, data, size);
  errno = outcome;
  return -1;
}
ssize_t __wrap_read(int fd, void* data, size_t size) {
  int outcome = next(reads);
  if (outcome == kShort) return __real_read(fd, data, size > 0 ? 1 : 0);
  if (outcome == 0) return __real_read(fd, data, size);
  errno = outcome;
  return -1;
}
int __wrap_fsync(int fd) {
  int outcome = next(syncs);
  if (outcome == 0 || outcome == kShort) {
    struct stat info;
    int result = __real_fsync(fd);
    if (result == 0 && fstat(fd, &info) == 0 && S_ISDIR(info.st_mode)) ++folderSyncs;
    return result;
  }
  errno = outcome;
  return -1;
}
int __wrap_open(const char* path, int flags, ...) {
  mode_t mode = 0;
  if (flags & O_CREAT) {
    va_list rest;
    va_start(rest, flags);
    mode = static_cast<mode_t>(va_arg(rest, int));
    va_end(rest);
  }
  int outcome = next(opens);
  if (outcome > 0) {
    errno = outcome;
    return -1;
  }
  bool hold = outcome == kNotZero && fcntl(STDIN_FILENO, F_GETFD) == -1;
  if (hold) __real_open("/dev/null", O_RDONLY);  // the lowest free descriptor: 0
  int fd = __real_open(path, flags, mode);
  if (hold) close(STDIN_FILENO);
  return fd;
}
int __wrap_close(int fd) {
  int outcome = next(closes);
  int result = __real_close(fd);
  if (outcome <= 0) return result;
  errno = outcome;  // closed all the same, as the system does
  return -1;
}
int __wrap_link(const char* from, const char* to) {
  int outcome = next(links);
  if (outcome == 0) return __real_link(from, to);
  errno = outcome;
  return -1;
}
}

namespace {

class FileFaults : public ::testing::Test {
 protected:
  void TearDown() override {
    EXPECT_TRUE(writes.empty() && reads.empty() && syncs.empty() && links.empty() && opens.empty() && closes.empty())
        << "a scripted call never came";
    writes.clear(), reads.clear(), syncs.clear(), links.clear(), opens.clear(), closes.clear();
  }
  TempDir dir;
};

// A handled signal or a short count is carried on from; any other failure
// is handed back, and nothing is retried after it.
TEST_F(FileFaults, CallsCarryOnAfterSignalsAndShortCountsAndReportTheRest) {
  const struct {
    std::deque<int> script;  // for each of the three calls in turn
    int writeError;
    const char* written;
    int syncError, readError;
    const char* read;  // by one readSome of the file
  } cases[] = {
      {{}, 0, "vorlan", 0, 0, "vorlan"},
      {{EINTR, EINTR}, 0, "vorlan", 0, 0, "vorlan"},
      {{kShort, EINTR, kShort}, 0, "vorlan", 0, 0, "v"},
      {{kShort, ENOSPC}, ENOSPC, "v", 0, 0, "v"},
      {{EIO, 0}, EIO, "", EIO, EIO, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.written);
    std::string name = dir.file("calls");
    int fd = open(name.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0644);
    ASSERT_GE(fd, 0);
    writes = c.script;
    EXPECT_EQ(writeWhole(fd, "vorlan", 6), c.writeError);
    EXPECT_EQ(readFileText(name), c.written);
    syncs = c.script;
    EXPECT_EQ(syncWhole(fd), c.syncError);
    char got[8] = {};
    std::size_t count = 99;
    lseek(fd, 0, SEEK_SET);
    reads = c.script;
    EXPECT_EQ(readSome(fd, got, sizeof got, count), c.readError);
    EXPECT_EQ(std::string(got, count), c.read);
    lseek(fd, 0, SEEK_END);
    reads.clear();
    EXPECT_EQ(readSome(fd, got, sizeof got, count), 0) << "the end of the file is no failure";
    EXPECT_EQ(count, 0u);
    writes.clear(), syncs.clear(), reads.clear();
    close(fd);
  }
  std::size_t count = 99;
  char byte;
  EXPECT_EQ(readSome(-1, &byte, 1, count), EBADF);
  EXPECT_EQ(count, 0u);
}

// Every byte reaches the file, the last lone byte of a flush too, and the
// first failure is the one reported.
TEST_F(FileFaults, ByteSinkWritesEveryByteOrReportsTheFirstFailure) {
  for (std::size_t size : {std::size_t{1}, std::size_t{5} << 20}) {
    ByteSink sink;
    ASSERT_EQ(sink.create(dir.file("sink").c_str()), 0);
    std::string bytes(size, 'w');
    writes = {EINTR};
    sink.write(bytes.data(), bytes.size());
    syncs = {EINTR};
    EXPECT_EQ(sink.sync(), 0);
    EXPECT_EQ(sink.close(), 0);
    EXPECT_EQ(readFileText(dir.file("sink")), bytes);
  }
  ByteSink full;
  ASSERT_EQ(full.create(dir.file("full").c_str()), 0);
  full.put(std::uint32_t{7});
  writes = {ENOSPC};
  EXPECT_EQ(full.sync(), ENOSPC);
  full.put(std::uint32_t{8});
  EXPECT_EQ(full.close(), ENOSPC);
  ClosedInput closed;  // a sink on descriptor 0 gives it back when it closes
  ByteSink onZero;
  ASSERT_EQ(onZero.create(dir.file("zero").c_str()), 0);
  onZero.put('z');
  EXPECT_EQ(onZero.close(), 0);
  EXPECT_EQ(fcntl(STDIN_FILENO, F_GETFD), -1) << "descriptor 0 is still open";
  EXPECT_EQ(readFileText(dir.file("zero")), "z");
  {
    ByteSink dropped;  // on descriptor 0 again, and never closed by hand
    ASSERT_EQ(dropped.create(dir.file("dropped").c_str()), 0);
  }
  EXPECT_EQ(fcntl(STDIN_FILENO, F_GETFD), -1) << "a sink dropped unclosed still holds descriptor 0";
  ByteSink unsynced;
  ASSERT_EQ(unsynced.create(dir.file("unsynced").c_str()), 0);
  unsynced.put('u');
  syncs = {EIO};
  EXPECT_EQ(unsynced.sync(), EIO);
}

// Bytes copied from another file land after what was written before them;
// a source the system cannot copy from (a pipe) copies nothing.
TEST_F(FileFaults, ByteSinkCopiesFromAFileInOrder) {
  writeFileText(dir.file("source"), "xyzuvw");
  int source = open(dir.file("source").c_str(), O_RDONLY);
  int pipeEnds[2];
  ASSERT_EQ(pipe(pipeEnds), 0);
  ByteSink sink;
  ASSERT_EQ(sink.create(dir.file("copy").c_str()), 0);
  sink.write("ab", 2);
  EXPECT_EQ(sink.copyFrom(source, 2, 3), 3u);
  errno = EINTR;  // left over from before: the end of the file is no interruption
  EXPECT_EQ(sink.copyFrom(source, 5, 4), 1u) << "the file ends after one byte";
  EXPECT_EQ(sink.copyFrom(pipeEnds[0], 0, 3), 0u);
  sink.write("!", 1);
  EXPECT_EQ(sink.close(), 0);
  EXPECT_EQ(readFileText(dir.file("copy")), "abzuvw!");
  close(source), close(pipeEnds[0]), close(pipeEnds[1]);
}

class SavingFaults : public FileFaults {
 protected:
  void SetUp() override {
    writeFileText(project, "old project");
    chmod(project.c_str(), 0640);
  }
  // Saves "new project" with a backup; returns the close's status.
  int save(RenamePackageA& outputs) {
    EXPECT_NE(outputs.rnp_BuildOutputs(1, project.c_str(), "pew", nullptr, nullptr), 0);
    writeFileText(outputs.rnp_GetFileName(3), "new project");
    return outputs.rnp_CloseOutputs(status::kOk);
  }
  std::string project = dir.file("map.pew");
};

// Where the file system makes no hard links, the backup is a copy with the
// old file's permissions, and the folder is synced so the renames last.
TEST_F(SavingFaults, BackupIsCopiedWhereLinksCannotBeMade) {
  ClosedInput closed;  // descriptor 0 goes to the copy, then to the folder
  RenamePackageA outputs;
  links = {EXDEV};
  reads = {EINTR};
  opens = {0, kNotZero};  // the new project, then the old one for copying
  folderSyncs = 0;
  EXPECT_EQ(save(outputs), status::kOk) << std::string(outputs.rnp_GetError());
  EXPECT_EQ(folderSyncs, 1);
  EXPECT_EQ(readFileText(project), "new project");
  EXPECT_EQ(readFileText(project + ".bak"), "old project");
  struct stat info;
  ASSERT_EQ(stat((project + ".bak").c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 07777, 0640u);
  EXPECT_EQ(dir.names(), (std::vector<std::string>{"map.pew", "map.pew.bak"}));
}

// A disk that fails to take the new project or its backup leaves the old
// project, no backup and no temporary file.
TEST_F(SavingFaults, FailuresOnTheWayToDiskLeaveTheOldProject) {
  const struct {
    std::deque<int> links, writes, syncs;
    const char* error;
    std::deque<int> opens = {};
  } cases[] = {
      {{}, {}, {EINTR, EIO}, "cannot write the new project to disk: Input/output error"},
      {{EXDEV}, {ENOSPC}, {}, "cannot keep the old project as "},
      {{EXDEV}, {}, {0, EIO}, "cannot keep the old project as "},
      {{EXDEV}, {}, {}, "cannot keep the old project as ", {0, EACCES}},
      {{EXDEV}, {}, {}, "cannot keep the old project as ", {0, 0, ENOSPC}},
  };
  for (const auto& c : cases) {
    RenamePackageA outputs;
    links = c.links, writes = c.writes, syncs = c.syncs, ::opens = c.opens;
    EXPECT_EQ(save(outputs), status::kCannotWrite);
    EXPECT_NE(std::string(outputs.rnp_GetError()).find(c.error), std::string::npos) << std::string(outputs.rnp_GetError());
    EXPECT_EQ(readFileText(project), "old project");
    EXPECT_EQ(dir.names(), std::vector<std::string>{"map.pew"});
  }
}

// An export replaces the old file only once its text is on disk, and makes
// the rename last; a failed sync keeps the old file. Standard input is
// closed, so the export's file may get its descriptor.
TEST_F(FileFaults, ExportReplacesTheOldFileOnlyWhenItsTextIsOnDisk) {
  const std::string name = dir.file("objects.txt");
  writeFileText(name, "old text");
  ClosedInput closed;
  for (int failure : {EIO, 0}) {
    ExportFile file;
    ASSERT_EQ(file.open(name.c_str(), dir.file("map.pew").c_str()), ExportFile::OpenResult::Opened);
    std::fputs("new text", file.stream());
    syncs = {failure};
    folderSyncs = 0;
    EXPECT_EQ(file.finish(true), failure);
    EXPECT_EQ(readFileText(name), failure ? "old text" : "new text");
    EXPECT_EQ(folderSyncs, failure ? 0 : 1);
    EXPECT_EQ(dir.names(), std::vector<std::string>{"objects.txt"});
  }
  {
    ExportFile refused;  // a file this user may not write (binds even the super-user here)
    opens = {EACCES};
    EXPECT_EQ(refused.open(name.c_str(), dir.file("map.pew").c_str()), ExportFile::OpenResult::CannotCreate);
  }
  {
    ExportFile abandoned;  // an export that stops without finishing
    ASSERT_EQ(abandoned.open(name.c_str(), dir.file("map.pew").c_str()), ExportFile::OpenResult::Opened);
    std::fputs("half", abandoned.stream());
  }
  EXPECT_EQ(readFileText(name), "new text");
  EXPECT_EQ(dir.names(), std::vector<std::string>{"objects.txt"});
  ExportFile blocked;  // the old file became a folder meanwhile: the rename fails
  ASSERT_EQ(blocked.open(name.c_str(), dir.file("map.pew").c_str()), ExportFile::OpenResult::Opened);
  unlink(name.c_str()), mkdir(name.c_str(), 0700), writeFileText(name + "/kept", "");
  EXPECT_EQ(blocked.finish(true), EISDIR);
  EXPECT_EQ(dir.names(), std::vector<std::string>{"objects.txt"});
}

// A world whose file fails to close (the last chance a file system has to
// report a lost write) is not made, and an older world stays.
TEST_F(FileFaults, WorldThatFailsToCloseIsNotMade) {
  ProjectFixture f;
  f.grid(2, 2, 10);
  f.addTemplate(1, "data\\tree.p3d");
  f.addObject(1);
  std::vector<unsigned char> pew = f.bytes();
  Vorlan project;
  ASSERT_EQ(project.pew_Open("map.pew", Vorlan::kNoFlags, MessageCapture::sink, pew.data(), pew.size()), status::kOk);
  Morvik world;
  ASSERT_EQ(world.wrp_CreateFromPew(8, &project, MessageCapture::sink), status::kOk);
  const std::string name = dir.file("map.wrp");
  writeFileText(name, "older world");
  closes = {0, EIO};  // the older world's, opened to drop its cached pages, then the new one's
  EXPECT_NE(world.wrp_Create(name.c_str(), 8), status::kOk);
  EXPECT_EQ(readFileText(name), "older world");
  EXPECT_EQ(dir.names(), std::vector<std::string>{"map.wrp"});
}

}  // namespace

// A lock taken while standard input is closed sits on descriptor 0 and
// holds the project all the same.
TEST_F(FileFaults, ProjectLockOnDescriptorZeroHoldsTheProject) {
  writeFileText(dir.file("map.pew"), "project");
  ClosedInput closed;
  ProjectLock lock;
  ASSERT_EQ(lock.acquire(dir.file("map.pew").c_str(), 0, nullptr), 0);
  int other = open(dir.file("map.pew").c_str(), O_RDONLY);
  EXPECT_NE(flock(other, LOCK_EX | LOCK_NB), 0) << "the project is not held";
  close(other);
}

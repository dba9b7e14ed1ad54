#include "object_test_support.h"

#include <sys/resource.h>

#include <gtest/gtest.h>

#include <csignal>

#include <cerrno>
#include <cstdio>

#include "driver/run_state.h"
#include "message_capture.h"
#include "status.h"

namespace {

// The export pads a header label wider than every name without end, which
// on a regular file only a full disk stops. The tests write small files: a
// write beyond 256 MB fails (EFBIG) instead of filling the disk.
const bool kFileSizeCapped = [] {
  struct rlimit limit;
  if (getrlimit(RLIMIT_FSIZE, &limit) != 0) return false;
  const rlim_t cap = rlim_t{256} << 20;
  if (limit.rlim_cur == RLIM_INFINITY || limit.rlim_cur > cap) limit.rlim_cur = cap;
  std::signal(SIGXFSZ, SIG_IGN);
  return setrlimit(RLIMIT_FSIZE, &limit) == 0;
}();

}  // namespace

OpenedProject::OpenedProject(const ProjectFixture& fixture) {
  EXPECT_TRUE(kFileSizeCapped);
  path_ = fixture.writeTo(dir_.file("map.pew"));
  original_ = readFileBytes(path_);
  project = toolkit.dll_GetVorlan();
  projectPath.Set(path_);
  textFilePath.Set("");
  runOptions = RunOptions{};
  runOptions.yes = 1;
  MessageCapture::reset();
  EXPECT_EQ(project->pew_Open(path_.c_str(), 0, MessageCapture::sink, nullptr, 0), status::kOk)
      << MessageCapture::text;
}

OpenedProject::~OpenedProject() {
  runOptions = RunOptions{};
  project->Close();
}

Vorlan& OpenedProject::get() { return *project; }

bool OpenedProject::unchanged() const { return readFileBytes(path_) == original_; }

namespace {

// A stream into a string that refuses to grow beyond a cap, so a test that
// went wrong can never fill the disk or the memory.
constexpr std::size_t kTextCap = std::size_t{256} << 20;

ssize_t appendToString(void* cookie, const char* data, std::size_t size) {
  auto& text = *static_cast<std::string*>(cookie);
  if (text.size() + size > kTextCap) {
    errno = EFBIG;
    return -1;
  }
  text.append(data, size);
  return static_cast<ssize_t>(size);
}

}  // namespace

std::string writtenText(const std::function<void(TextWriter&)>& write) {
  std::string text;
  cookie_io_functions_t functions{};
  functions.write = appendToString;
  FILE* file = fopencookie(&text, "w", functions);
  {
    TextWriter out(file);
    write(out);
  }
  std::fclose(file);
  return text;
}

ProjectFixture oneTemplate(const std::string& model) {
  ProjectFixture f;
  f.grid(2, 2, 10.0f);
  f.addTemplate(1, model, "house");
  return f;
}

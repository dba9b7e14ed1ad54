#include "console.h"

#include <unistd.h>

#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <vector>

#include "system/console_keys.h"
#include "text/cstring8.h"
#include "run_state.h"
#include "text/utf_convertors.h"

namespace {

// The end of input leaves no way to answer: wait (without using the CPU)
// until a signal ends the process.
[[noreturn]] void waitForever() {
  for (;;) pause();
}

}  // namespace

bool printMessage(const char* format, ...) {
  CString8 text;
  va_list args;
  va_start(args, format);
  text.FormatV(format, args);
  va_end(args);
  const char* p = text.Get();
  const char* end = p + text.Length();
  while (p < end) {
    const char* cr = static_cast<const char*>(std::memchr(p, '\r', static_cast<std::size_t>(end - p)));
    const char* stop = cr ? cr : end;
    std::fwrite(p, 1, static_cast<std::size_t>(stop - p), stdout);
    p = cr ? cr + 1 : end;
  }
  return true;
}

int askYesNo(const char* format, ...) {
  if (runOptions.yes) return 1;
  std::uint32_t rememberedPause = runOptions.pause;
  runOptions.pause = 0;
  CString8 question;
  va_list args;
  va_start(args, format);
  question.FormatV(format, args);
  va_end(args);
  std::fflush(stdout);  // whatever led to the question is shown first
  for (;;) {
    std::string shown = utfConvertors::convert_if_local_codepage(question.Get());
    std::fprintf(stderr, "%s Y/N? ", shown.c_str());
    int key = _getch();
    if (key == EOF) waitForever();
    std::fprintf(stderr, "%c\n", key);
    key = std::tolower(key);
    if (key == 'n') return 0;
    if (key == 'y') {
      runOptions.pause = rememberedPause;
      return 1;
    }
  }
}

int confirmAction(const char* title) {
  if (title) std::printf("%s\n", utfConvertors::convert_if_local_codepage(title).c_str());
  if (askYesNo("are you sure you want to do this?") == 0) return 0;
  // The projects of a folder are all saved under the folder's name. Say so
  // once, and keep a file that had that name before the run as a backup,
  // asked for or not.
  bool folder = projectPath.fs_FolderExists(0) != 0;
  if (folder && !folderOutputAnnounced) {
    folderOutputAnnounced = true;
    FileStringA saved(projectPath.Get());
    saved.fs_AddExt("pew", 0);
    std::string name = utfConvertors::convert_if_local_codepage(saved.Get());
    std::fprintf(stderr, "changes to the projects of the folder are saved to %s\n", name.c_str());
    if (saved.fs_FileExists(nullptr)) std::fprintf(stderr, "the %s there now is kept as %s.bak\n", name.c_str(), name.c_str());
  }
  int ready = outputs.rnp_BuildOutputs(runOptions.backup || folder, projectPath.Get(), "pew", nullptr, nullptr);
  if (!ready)
    std::fprintf(stderr, "cannot save the project: %s; the project is unchanged\n",
                 utfConvertors::convert_if_local_codepage(outputs.rnp_GetError()).c_str());
  return ready;
}

void formatText(std::string& out, const char* format, ...) {
  std::size_t size = (format ? std::strlen(format) : 0) + 1024;
  std::vector<char> buffer(size, '\0');
  if (format) {
    va_list args;
    va_start(args, format);
    std::vsnprintf(buffer.data(), size, format, args);  // at most size - 1 characters
    va_end(args);
  }
  out = buffer.data();
}

void wideToUtf8(std::string& out, const wchar_t* text) { out = utfConvertors::unicode_to_utf8(text); }

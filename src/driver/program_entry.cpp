#include "program_entry.h"

#include <cstdio>
#include <string>

#include "command_line.h"
#include "console.h"
#include "system/console_keys.h"
#include "run_loop.h"
#include "run_state.h"
#include "text/utf_convertors.h"

namespace {

void printBanner(int argc, char** argv, const LibraryVersion& library) {
  programName.fs_Extract(FileStringA::kName, argc > 0 && argv[0] ? argv[0] : "");
  std::string banner;
  formatText(banner, "%s Version %.2f, Dll %s \"%s\"\n", programName.Get(), kProgramVersion,
             library.text ? library.text : "", bannerTitle(argc, argv).c_str());
  std::fputs(utfConvertors::convert_if_local_codepage(banner.c_str()).c_str(), stderr);
}

int runSteps(int argc, char** argv, const LibraryVersion& library) {
  folderOutputAnnounced = false;
  printBanner(argc, argv, library);
  if (checkLibraryVersion(library.number)) return 1;
  world = toolkit.dll_GetMorvik();
  project = toolkit.dll_GetVorlan();
  configReader = toolkit.dll_GetRap();
  std::fputs("=======*==========\n", stdout);
  int count = argc > 0 ? argc - 1 : 0;
  char** words = argc > 0 ? argv + 1 : argv;
  if (!parseOptions(count, words)) return 1;
  if (!findProject(count, words)) return 1;
  findTextFile(count, words);
  std::fprintf(stderr, "Opening %s...\n-----------------\n",
               utfConvertors::convert_if_local_codepage(projectPath.Get()).c_str());
  if (projectPath.fs_FolderExists(0)) return walkFolder(projectPath.Get());
  return processFile(projectPath.Get());
}

// Reports the exception being handled; the toolkit throws texts (narrow or
// wide) and codes.
void reportCurrentException() {
  try {
    throw;
  } catch (const char* text) {
    std::fprintf(stderr, "%s", text);
  } catch (const wchar_t* text) {
    std::string utf8;
    wideToUtf8(utf8, text);
    std::fprintf(stderr, "%s", utf8.c_str());
  } catch (int code) {
    std::fprintf(stderr, "exe returned code %d\n", code);
  } catch (...) {
    std::fputs("unknown exception\n", stderr);
  }
}

}  // namespace

bool checkLibraryVersion(float version) {
  if (version >= kMinimumLibraryVersion) return false;
  std::fprintf(stderr, "Min zentu dll version required is %.2f, is %.2f\r\n", kRequiredLibraryVersionShown,
               version);
  runOptions.pause = 0;
  return true;
}

int runGuarded(const std::function<int()>& body) {
  int status;
  try {
    status = body();
  } catch (...) {
    reportCurrentException();
    status = 1;
  }
  if (runOptions.pause) {
    std::fprintf(stderr, "\n%s\n", utfConvertors::convert_if_local_codepage("Press the ANY key").c_str());
    _getch();
  }
  return status;
}

int runProgram(int argc, char** argv, const LibraryVersion& library) {
  return runGuarded([&] { return runSteps(argc, argv, library); });
}

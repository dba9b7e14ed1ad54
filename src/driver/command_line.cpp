#include "command_line.h"

#include <cstdio>

#include "run_state.h"

std::string bannerTitle(int argc, char** argv) {
  std::string title = "no_file";
  int i = 1;
  while (i < argc) {
    const char* word = argv[i];
    if (word[0] == '+' || word[0] == '-') {
      ++i;
      continue;
    }
    FileStringA name;
    name.fs_Extract(FileStringA::kName | FileStringA::kExtension, word);
    title = name.IsEmpty() ? word : name.Get();
    // The scan ends by jumping to word 1000; past that point it goes on word
    // by word, so on a very long command line a later word replaces the title.
    i = i < 1000 ? 1000 : i + 1;
  }
  return title;
}

bool findProject(int count, char** words) {
  for (int i = 0; i < count; ++i) {
    char* word = words[i];
    // An empty word has no character to mark, and names nothing anyway.
    if (word[0] == '-' || word[0] == '\0') continue;
    projectPath.Set(word);
    bool found = projectPath.fs_FolderExists(0) != 0;
    if (!found) {
      projectPath.fs_AddExt(".pew", 0);
      found = projectPath.fs_FileExists(nullptr) != 0;
    }
    if (found) {
      word[0] = '-';
      return true;
    }
  }
  std::fputs("No Pew File Found\n", stderr);
  return false;
}

bool findTextFile(int count, char** words) {
  textFilePath.Set("");
  for (int i = 0; i < count; ++i) {
    if (words[i][0] != '-') {
      textFilePath.Set(words[i]);
      break;
    }
  }
  return true;
}

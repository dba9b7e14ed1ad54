#include "run_options.h"

#include <cctype>
#include <cstdio>

#include "run_state.h"

namespace {

const char* const kUsageLines[] = {
    "Syntax:\n",
    "Vorlan [-option(s) [ImportTextFile.any]] Anyfile[.pew] [ExportTextFile.any]\n\n",
    "Options: case InSensSITive, any order\n\n",
    "\tnone:\tAnalyse the pew to verify it's integrity\n",
    "\t\tPrint some statistics\n",
    "\t-U:\t(Default) As above\n",
    "\t-X:\tExport to wrp\n",
    "\t-RZ:\tRemove Duplicated objects\n",
    "\t-LZ:\tList Duplicated objects\n",
    "\t-LT[Cc]:\tList all templates\n",
    "\t-E[o0][Cc]:\tExport objects in world tools format\n",
    "\t-Eo1[Cc]:\tExport objects in extended format(includes relative height info)\n",
    "\t-Eo2[Cc]:\tExport objects in row (pew) transform\n",
    "\t-Eo3[Cc]:\tExport objects in column (wrp) transform\n",
    "\t-ET[Cc]:\tExport template\n",
    "\t-EE[0][Cc]:\tExport elevations in asc format\n",
    "\t-EE1[Cc]:\tExport elevations in xyz format\n",
    "\t-Cc:\tc=SeparationCharacter. (default is ',')\n",
    "\t-Do[Y]:\tDelete all objects\n",
    "\t-DT[Y]:\tDelete all templates (and objects)\n",
    "\t-R[o][Y]:\tReduce objects (default)\n",
    "\t-RT[Y]:\tReduce templates\n",
    "\t-I[o][Y]:\tImport objects (and build templates where necessary). Default\n",
    "\t-IT[Y]:\tImport templates\n",
    "\t-IE[Y]:\tImport elevations\n",
    "\t-Y:\tYes. Don't prompt for ask\n",
    "\t-P:\tdo NOT Pause after output\n",
    "\t-A:\tx,y[,z] Add offsets\n",
    "\t-T:\tTests the dll. 'Office use only'\n",
    "\t-V:\tVerify integrity after writing\n",
    "\t-B:\tmake a backup\n",
    "\t-H:\tfirst line is header\n",
    "\t-F:\tcolumnate output\n",
};

char upper(char c) { return static_cast<char>(std::toupper(static_cast<unsigned char>(c))); }

int unknownLetter(char c) {
  std::fprintf(stderr, "unknown -option character '%c'\n", c);
  return 0;
}

bool isDigitIn(char c, char low, char high) { return c >= low && c <= high; }

}  // namespace

void printUsage() {
  for (const char* line : kUsageLines) std::fputs(line, stderr);
}

int parseOptionLetters(const char* text) {
  RunOptions& o = runOptions;
  const char* p = text;
  if (*p == '\0') {
    std::fputs("missing an -option character\n", stderr);
    return 0;
  }
  // Each step consumes one letter and the sub-letters that belong to it.
  // A sub-letter is looked at only when the character before it exists.
  while (*p) {
    char next = upper(p[1]);
    switch (upper(*p)) {
      case 'A':
        if (next != 'T') return unknownLetter(p[1]);
        o.action = ActionCode::AddTemplates;
        p += 2;
        break;
      case 'B':
        o.backup = 1;
        p += 1;
        break;
      case 'C':
        o.separator = static_cast<unsigned char>(p[1]);
        if (!std::ispunct(static_cast<unsigned char>(p[1]))) {
          std::fputs("Separation char is not punctuation\n", stderr);
          return 0;
        }
        p += 2;
        break;
      case 'D':
        if (next == 'O') {
          o.action = ActionCode::DeleteObjects;
        } else if (next == 'T') {
          o.action = ActionCode::DeleteTemplates;
        } else {
          return unknownLetter(p[1]);
        }
        p += 2;
        break;
      case 'E':
        if (next == 'O') {
          o.action = ActionCode::ExportObjects;
          if (isDigitIn(p[2], '0', '3')) {
            o.objectFormat = p[2] - '0';
            p += 3;
          } else {
            o.objectFormat = 0;
            p += 2;
          }
        } else if (next == 'T') {
          o.action = ActionCode::ExportTemplates;
          p += 2;
        } else if (next == 'E') {
          o.action = ActionCode::ExportElevations;
          if (isDigitIn(p[2], '0', '1')) {
            o.elevationFormat = p[2] - '0';
            p += 3;
          } else {
            o.elevationFormat = 0;
            p += 2;
          }
        } else {
          o.action = ActionCode::ExportObjects;  // keeps the object format
          p += 1;
        }
        break;
      case 'F':
        if (isDigitIn(p[1], '0', '1')) {
          o.columnate = p[1] - '0';
          p += 2;
        } else if (isDigitIn(p[1], '2', '9')) {
          return unknownLetter('F');
        } else {
          o.columnate = 0;
          p += 1;
        }
        break;
      case 'H':
        if (isDigitIn(p[1], '0', '1')) {
          o.header = static_cast<std::uint8_t>(p[1] - '0');
          p += 2;
        } else if (isDigitIn(p[1], '2', '9')) {
          return unknownLetter('H');
        } else {
          o.header = 0;
          p += 1;
        }
        break;
      case 'I':
        if (next == 'O' || next == 'T' || next == 'E') {
          o.action = next == 'O'   ? ActionCode::ImportObjects
                     : next == 'T' ? ActionCode::ImportTemplates
                                   : ActionCode::ImportElevations;
          p += 2;
        } else {
          o.action = ActionCode::ImportObjects;
          p += 1;
        }
        break;
      case 'K':
      case 'P':
        o.pause = 0;
        p += 1;
        break;
      case 'L':
        if (next == 'T') {
          o.action = ActionCode::ListTemplates;
        } else if (next == 'Z') {
          o.action = ActionCode::ListDuplicates;
        } else {
          return unknownLetter(p[1]);
        }
        p += 2;
        break;
      case 'R':
        if (next == 'T' || next == 'O') {
          char third = upper(p[2]);
          bool both = (next == 'T' && third == 'O') || (next == 'O' && third == 'T');
          if (both) {
            o.action = ActionCode::ReduceAll;
            p += 3;
          } else {
            o.action = next == 'T' ? ActionCode::ReduceTemplates : ActionCode::ReduceObjects;
            p += 2;
          }
        } else if (next == 'Z') {
          o.action = ActionCode::RemoveDuplicates;
          p += 2;
        } else {
          o.action = ActionCode::ReduceObjects;
          p += 1;
        }
        break;
      case 'T':
        o.action = ActionCode::SelfTest;
        p += 1;
        break;
      case 'U':
        o.action = ActionCode::Analyse;
        p += 1;
        break;
      case 'V':
        o.verify = 1;
        p += 1;
        break;
      case 'X':
        o.action = ActionCode::ExportWrp;
        p += 1;
        break;
      case 'Y':
        o.yes = 1;
        p += 1;
        break;
      default:
        return unknownLetter(*p);
    }
  }
  return 1;
}

bool parseOptionWord(const char* word) {
  if (!word || word[0] != '-') return true;
  runOptions.optionSeen = 1;
  return parseOptionLetters(word + 1) != 0;
}

bool parseOptions(int count, char** words) {
  RunOptions& o = runOptions;
  o.separator = ',';
  o.header = 1;
  o.columnate = 1;
  o.verify = 0;
  o.optionSeen = 0;
  o.backup = 0;
  o.action = ActionCode::None;
  o.elevationFormat = 0;
  o.objectFormat = 1;
  if (count <= 0) {
    printUsage();
    return false;
  }
  for (int i = 0; i < count; ++i) {
    if (!parseOptionWord(words[i])) {
      printUsage();
      return false;
    }
  }
  if (!o.optionSeen) o.action = ActionCode::Analyse;
  return true;
}

// The run settings chosen on the command line, and the option parser that
// sets them. Messages and the usage text go to standard error.
#pragma once

#include <cstdint>

// The one action performed on each project.
enum class ActionCode : std::uint32_t {
  None = 0,               // options given, none selects an action
  ExportElevations = 1,   // -EE, -EE0, -EE1
  ImportElevations = 2,   // -IE
  SelfTest = 3,           // -T
  ListTemplates = 4,      // -LT
  DeleteObjects = 5,      // -DO
  DeleteTemplates = 6,    // -DT
  ImportObjects = 7,      // -I, -IO
  ExportObjects = 8,      // -E, -EO, -EO0 .. -EO3
  ReduceObjects = 9,      // -R, -RO
  ReduceTemplates = 10,   // -RT
  Analyse = 11,           // -U, or no option word at all
  AddTemplates = 12,      // -AT
  ExportTemplates = 13,   // -ET
  ImportTemplates = 14,   // -IT
  ExportWrp = 15,         // -X
  ReduceAll = 16,         // -ROT, -RTO
  ListDuplicates = 17,    // -LZ
  RemoveDuplicates = 18,  // -RZ
};

struct RunOptions {
  ActionCode action = ActionCode::None;
  std::uint8_t backup = 0;        // keep <project>.bak when rewriting
  std::int32_t separator = ',';   // column separator of text files
  std::int32_t objectFormat = 1;  // object export layout, 0..3
  std::int32_t elevationFormat = 0;  // 0 asc grid, 1 xyz list
  std::int32_t columnate = 1;     // pad text output into columns
  std::uint8_t header = 1;        // text files start with a header line
  std::uint8_t verify = 0;        // re-open what was written
  std::uint32_t yes = 0;          // answer every question with yes
  std::uint32_t pause = 0;        // wait for a key before exiting; never set
  std::uint8_t optionSeen = 0;    // a word beginning with '-' was parsed
};

// Parses the command-line words after the program name into runOptions.
// Words not beginning with '-' are skipped (they name files). On the first
// bad option word, or with no words at all, prints the usage text and
// returns false. Without any option word the action becomes Analyse.
bool parseOptions(int count, char** words);
// One word: sets optionSeen and parses the letters after the '-'; any other
// word is accepted as it is.
bool parseOptionWord(const char* word);
// The letters of one option word (after its '-'); 1 on success, 0 after
// printing an error message.
int parseOptionLetters(const char* text);
void printUsage();

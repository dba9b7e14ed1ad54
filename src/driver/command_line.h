// Finding the project and the text file among the command-line words (the
// words after the program name), and the banner's title.
#pragma once

#include <string>

// The first word that is not an option ("-...") nor a "+..." word gives the
// title: its file name with extension, or the whole word when that is
// empty; "no_file" when there is none. As the scan stops by moving its index
// to word 1000, a command line of more than 1000 words is scanned on from
// there, and the last file word from word 1000 on gives the title.
std::string bannerTitle(int argc, char** argv);

// Sets projectPath to the first word, not beginning with '-', that names an
// existing folder, or an existing file once ".pew" is added (to a name
// without extension). The word is then marked as an option word (its first
// character becomes '-') so that findTextFile passes over it. Prints "No Pew
// File Found\n" to standard error and returns false when no word qualifies.
bool findProject(int count, char** words);

// Sets textFilePath to the first word not beginning with '-', or to "" when
// there is none. Always true.
bool findTextFile(int count, char** words);

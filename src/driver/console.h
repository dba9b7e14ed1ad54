// Console helpers shared by every action: the message printer handed to the
// toolkit, the yes/no prompt, the confirmation before a change, and text
// formatting.
#pragma once

#include <string>

// Formats the message and writes it to standard output without its
// carriage returns. Always returns true.
bool printMessage(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Asks the formatted question on standard error ("<question> Y/N? ") and
// reads single keys until y or n (either case): 1 for yes, 0 for no. With
// runOptions.yes set answers 1 without asking. A no leaves runOptions.pause
// cleared, a yes restores it. At the end of input it waits for good.
int askYesNo(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Prints the title (when not null), asks "are you sure you want to do
// this?", and on yes prepares the output names for rewriting projectPath.
// Non-zero to go on.
int confirmAction(const char* title);

// printf into `out`, cut at strlen(format) + 1023 characters.
void formatText(std::string& out, const char* format, ...) __attribute__((format(printf, 2, 3)));

// `out` becomes the wide text in UTF-8 ("" for null).
void wideToUtf8(std::string& out, const wchar_t* text);

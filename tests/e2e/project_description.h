// Reads the small text that describes an end-to-end case's project into a
// ProjectFixture. One statement per line; '#' starts a comment; words with
// blanks go in double quotes:
//
//   version 59
// (the word after FILE is the name unless it holds "="; give "" for no name
// before options)
//   grid COLUMNS ROWS SPACING [HEIGHT ...]
//   template ID FILE [NAME] [type=N] [marker=N] [road] [outline=0xRRGGBB]
//            [colour=0xRRGGBB] [unknown=N] [scale=FLAG,X,Y] [rotate=FLAG,X,Y]
//            [orientation=FLAG,X,Y] [bounds=X,Y] [artificial=NAME,LB,x,y,z,...]
//   object TEMPLATE [id=N] [at=X,Y,HEIGHT] [heading=DEGREES[,SCALE]]
//          [name=TEXT] [relative=R] [matrix=V1,...,V12]
//   deleted [COUNT]
#pragma once

#include <string>
#include <vector>

#include "fixture_builder.h"

// Throws std::runtime_error naming the line on a statement it cannot read.
ProjectFixture parseProjectDescription(const std::string& text);

// The words of a line: split at blanks, a word in double quotes may hold
// blanks; with `comments`, '#' outside a word ends the line.
std::vector<std::string> descriptionWords(const std::string& line, bool comments);

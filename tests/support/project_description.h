// Reads the small text that describes a test's project (an end-to-end case's,
// or a case file beside a unit test) into a ProjectFixture. One statement per
// line; '#' starts a comment; words with blanks go in double quotes:
//
//   version 59
//   grid COLUMNS ROWS SPACING [HEIGHT ...]
//   template ID FILE [NAME] [type=N] [marker=N] [road] [outline=0xRRGGBB]
//            [colour=0xRRGGBB] [unknown=N] [scale=FLAG,X,Y] [rotate=FLAG,X,Y]
//            [orientation=FLAG,X,Y] [bounds=X,Y] [artificial=NAME,LB,x,y,z,...]
//   object TEMPLATE [id=N] [at=X,Y,HEIGHT] [heading=DEGREES[,SCALE]]
//          [name=TEXT] [relative=R] [matrix=V1,...,V12]
//   deleted [COUNT]
//
// The word after FILE is the name unless it holds "="; give "" for no name
// before options.
#pragma once

#include <string>
#include <vector>

#include "fixture_builder.h"

// Throws std::runtime_error naming the line on a statement it cannot read.
ProjectFixture parseProjectDescription(const std::string& text);
// The project described in the file `path`; throws when it cannot be read.
ProjectFixture describedProject(const std::string& path);

// The words of a line: split at blanks, a word in double quotes may hold
// blanks; with `comments`, '#' outside a word ends the line.
std::vector<std::string> descriptionWords(const std::string& line, bool comments);

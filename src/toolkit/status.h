// Statuses returned by the toolkit. 0 is success; 1 is reserved for the
// program's own failures. Every toolkit failure has its own value in 2..125
// because the driver passes it through unchanged as the process exit status.
#pragma once

namespace status {

constexpr int kOk = 0;
constexpr int kFailed = 1;             // the program's own failure or a "no"
constexpr int kCannotOpen = 2;         // a file cannot be opened or read
constexpr int kNotProject = 3;         // not a project file (signature)
constexpr int kUnsupported = 4;        // other version or legacy content
constexpr int kDamaged = 5;            // counts or sizes do not fit the file
constexpr int kCannotWrite = 6;        // a file cannot be created or written
constexpr int kNoProject = 7;          // an operation needs a loaded project
constexpr int kNotWorld = 8;           // not a world file of the form we read
constexpr int kDamagedWorld = 9;       // a world file fails its checks
constexpr int kWorldUnsupported = 10;  // a world version we do not write
constexpr int kWorldBadObject = 11;    // an object cannot go into a world
constexpr int kConfigSyntax = 12;      // a config text cannot be read
constexpr int kConfigInclude = 13;     // an #include cannot be resolved

}  // namespace status

#include "map_program.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>

#include "object_dots.h"
#include "png_file.h"
#include "project/vorlan.h"
#include "relief.h"
#include "system/export_file.h"
#include "system/file_string.h"
#include "text/utf_convertors.h"

namespace {

bool toStandardError(const char* format, ...) {
  va_list args;
  va_start(args, format);
  std::vfprintf(stderr, format, args);
  va_end(args);
  return true;
}

std::string shown(const std::string& name) { return utfConvertors::convert_if_local_codepage(name.c_str()); }

// "1 object", "2 objects".
std::string objects(std::uint64_t n) { return std::to_string(n) + (n == 1 ? " object" : " objects"); }

int usage() {
  std::fputs("usage: vorlan-map project[.pew] [picture.png]\n"
             "draws the project's elevation grid and objects as a PNG picture, north up\n"
             "(default picture: the project's name with .png, beside it)\n",
             stderr);
  return 1;
}

// Writes the picture through a temporary file beside the target, so that a
// failure leaves an older picture of that name as it was.
int writePicture(const Picture& picture, const std::string& name, const std::string& projectFile) {
  ExportFile file;
  switch (file.open(name.c_str(), projectFile.c_str())) {
    case ExportFile::OpenResult::Opened:
      break;
    case ExportFile::OpenResult::IsProject:
      std::fprintf(stderr, "%s: cannot write the picture: it is the project file\n", shown(name).c_str());
      return 1;
    case ExportFile::OpenResult::CannotCreate:
      std::fprintf(stderr, "%s: cannot create the picture: %s\n", shown(name).c_str(), std::strerror(errno));
      return 1;
  }
  std::string problem;
  if (!writePng(file.stream(), picture, problem)) {
    file.finish(false);
    std::fprintf(stderr, "%s: cannot write the picture: %s\n", shown(name).c_str(), problem.c_str());
    return 1;
  }
  if (int error = file.finish(true)) {
    std::fprintf(stderr, "%s: cannot write the picture: %s\n", shown(name).c_str(), std::strerror(error));
    return 1;
  }
  return 0;
}

}  // namespace

int runMap(int argc, char** argv) {
  if (argc < 2 || argc > 3) return usage();
  for (int i = 1; i < argc; ++i)
    if (argv[i][0] == '-' || argv[i][0] == '\0') return usage();

  Vorlan project;
  if (project.pew_Open(argv[1], Vorlan::kNoFlags, toStandardError, nullptr, 0) != 0) return 1;
  const std::string projectFile = project.fileName();
  std::string pictureName;
  if (argc == 3) {
    pictureName = argv[2];
  } else {
    FileStringA name;
    name.Format("%s", projectFile.c_str());
    name.fs_ReplaceExt("png");
    pictureName = name.Get();
  }

  const ElevationGrid& grid = *project.pew_get_elevations();
  const float spacing = project.pew_get_gridsize();
  Picture picture = drawRelief(grid, spacing);
  if (picture.rgb.empty()) {
    std::fprintf(stderr, "%s: the project has no elevation grid (%u x %u), nothing to draw\n",
                 shown(projectFile).c_str(), grid.columns, grid.rows);
    return 1;
  }
  const DotCounts dots = drawObjects(project, picture);
  project.Close();  // the project's memory is not needed for writing

  if (int status = writePicture(picture, pictureName, projectFile)) return status;
  std::string skipped;
  if (dots.deleted != 0) skipped = objects(dots.deleted) + " deleted";
  if (dots.outside != 0) skipped += (skipped.empty() ? "" : ", ") + objects(dots.outside) + " outside the grid";
  if (!skipped.empty()) std::fprintf(stderr, "not drawn: %s\n", skipped.c_str());
  std::fprintf(stderr, "%s: %u x %u pixels, %g metres per pixel, %s drawn\n", shown(pictureName).c_str(),
               picture.width, picture.height, static_cast<double>(spacing) * picture.factor,
               objects(dots.drawn).c_str());
  return 0;
}

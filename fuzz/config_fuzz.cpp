// Fuzz target of the config reader and its preprocessor. Any text either
// fails with a reader status and a message, leaving no tree, or gives a tree
// whose every entry can be walked, counted and found again by name.
//
// The text is read as the file "main.h" of a scratch folder that holds a few
// small include files (plain, nested, self-including, cyclic, too deep,
// binary, a folder). Texts that could reach outside that folder (an absolute
// include name, or "..") are skipped, so the reader never opens a device or
// a file of the machine.
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include "config/config_reader.h"
#include "fuzz_support.h"
#include "config/rap_entry.h"
#include "status.h"

namespace {

const ConfigLimits kLimits{.maxFileBytes = std::size_t{1} << 20, .maxTotalBytes = std::size_t{4} << 20,
                           .maxIncludeDepth = 8, .maxNesting = 64, .maxExpansionTokens = std::size_t{1} << 16,
                           .maxExpansionLength = std::size_t{1} << 14, .maxMacroDepth = 32,
                           .maxEntries = std::size_t{1} << 16};
std::string mainName;

void makeIncludeFolder() {
  const std::string& dir = fuzz::scratchFolder();
  namespace fs = std::filesystem;
  fs::create_directories(dir + "/sub");
  fs::create_directories(dir + "/folder.h");
  fuzz::writeFile(dir + "/a.h", "#define FROM_A 1\nclass IncA { v = FROM_A; list[] = {1, \"two\", {3}}; };\n");
  fuzz::writeFile(dir + "/b.h",
                  "#include \"a.h\"\n#define TWICE(x) x x\n#define JOIN(a, b) a##b\n"
                  "class IncB : IncA { w = TWICE(2); };\n");
  fuzz::writeFile(dir + "/self.h", "x = 1;\n#include \"self.h\"\n");
  fuzz::writeFile(dir + "/c1.h", "#include \"c2.h\"\n");
  fuzz::writeFile(dir + "/c2.h", "#include \"c1.h\"\n");
  fuzz::writeFile(dir + "/binary.h", std::string("a = 1;\n\x01\x02", 9));
  fuzz::writeFile(dir + "/open.h", "#ifdef FROM_A\nclass Open {\n");
  fuzz::writeFile(dir + "/sub/x.h", "#include \"y.h\"\n");
  fuzz::writeFile(dir + "/sub/y.h", "y = \"from sub\";\n");
  // A chain of includes deeper than the limit: n0.h -> n1.h -> ... -> n11.h.
  for (int i = 0; i < 12; ++i) {
    std::string next = i < 11 ? "#include \"n" + std::to_string(i + 1) + ".h\"\n" : "deep = 1;\n";
    fuzz::writeFile(dir + "/n" + std::to_string(i) + ".h", next + "n" + std::to_string(i) + " = 1;\n");
  }
  mainName = dir + "/main.h";
}

// True when an #include in the text might name something outside the
// scratch folder: a name starting with '/' or '\' (absolute), or "..". A
// continued line ('\' at its end) may split any of them, "include" too:
// '"' then '\' is already refused, ".\" then a line end stands for "..".
bool mayLeaveFolder(std::string_view t) {
  constexpr auto npos = std::string_view::npos;
  if (t.find("include") == npos && t.find("\\\n") == npos && t.find("\\\r") == npos) return false;
  for (const char* risky : {"\"/", "\"\\", "..", ".\\\n", ".\\\r"})
    if (t.find(risky) != npos) return true;
  return false;
}

struct Walker {
  std::size_t entries = 0;

  void walk(rap_entry* node, int depth) {
    FUZZ_CHECK(depth <= kLimits.maxNesting + 1, "entries nested %d deep", depth);
    int count = 0;
    int looked = 0;
    rap_entry* firstClass = nullptr;
    for (rap_entry* e = node->rpe_get_entry(nullptr, 0); e; e = e->rpe_get_next()) {
      ++count;
      ++entries;
      FUZZ_CHECK(entries < (std::size_t{1} << 24), "a tree that does not end");
      if (e->IsClass() && !firstClass) firstClass = e;
      if (node->IsArray()) {
        FUZZ_CHECK(e->name.IsEmpty(), "an array element with a name");
        FUZZ_CHECK(!e->IsClass(), "a class inside an array");
      } else {
        FUZZ_CHECK(!e->name.IsEmpty(), "an unnamed entry of a class");
        // Names are unique in a class: each is found again as itself (the
        // lookup goes through the index in large classes). Plain lookups
        // scan, so only the first few are tried.
        if (e->IsClass()) FUZZ_CHECK(node->rpe_get_class(e->name.Get()) == e, "class not found by name");
        if (looked++ < 48) FUZZ_CHECK(node->rpe_get_entry(e->name.Get(), 0) == e, "entry not found by name");
      }
      if (e->IsClass()) {
        FUZZ_CHECK(e->value.IsEmpty(), "a class with a value");
        int chain = 0;
        for (rap_entry* b = e->rpe_get_base(); b; b = b->rpe_get_base()) {
          FUZZ_CHECK(b != e && b->IsClass(), "a base chain that loops or holds a non-class");
          FUZZ_CHECK(++chain < 1 << 20, "a base chain that does not end");
        }
        walk(e, depth + 1);
      } else if (e->IsArray()) {
        walk(e, depth + 1);
      } else {
        FUZZ_CHECK(e->get_count() == 0 && e->rpe_get_entry(nullptr, 0) == nullptr, "a value with children");
        (void)e->value.View();
      }
    }
    FUZZ_CHECK(count == node->get_count(), "%d entries walked, count says %d", count, node->get_count());
    if (node->IsClass()) {
      FUZZ_CHECK(node->rpe_get_class(nullptr) == firstClass, "first class differs");
      int classes = 0;
      for (rap_entry* c = firstClass; c; c = c->rpe_get_next_class()) FUZZ_CHECK(++classes <= count, "classes");
    }
  }
};

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  fuzz::installHeapWatch();
  makeIncludeFolder();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view text(reinterpret_cast<const char*>(data), size);
  if (size > static_cast<std::size_t>(INT32_MAX) || mayLeaveFolder(text)) return 0;

  Tovisk reader;
  reader.SetLimits(kLimits);
  fuzz::beginHeapWatch();
  int s = reader.rap_Create(mainName.c_str(), 0, size > 0 ? text.data() : "", nullptr, static_cast<int>(size),
                            nullptr);
  std::size_t used = fuzz::heapPeakSinceBegin();
  std::size_t budget = 64 * size + (std::size_t{32} << 20);
  FUZZ_CHECK(used <= budget, "%zu bytes of text used %zu bytes of memory", size, used);

  if (s != status::kOk) {
    FUZZ_CHECK(s == status::kConfigSyntax || s == status::kConfigInclude ||
                   (s == status::kCannotOpen && size > kLimits.maxFileBytes),
               "status %d: %s", s, reader.ErrorString(s));
    FUZZ_CHECK(reader.rap_get_root() == nullptr, "a failed read left a tree");
    std::string message = reader.ErrorString(s);
    FUZZ_CHECK(message.rfind(fuzz::scratchFolder(), 0) == 0, "message without its file: %s", message.c_str());
    return 0;
  }
  rap_entry* root = reader.rap_get_root();
  FUZZ_CHECK(root && root->IsClass(), "no root class");
  Walker walker;
  walker.walk(root, 0);
  for (rap_entry* c = root->rpe_get_class(nullptr); c; c = c->rpe_get_next_class())
    FUZZ_CHECK(reader.rap_get_class(c->name.Get()) == c, "top-level class not found by name");
  return 0;
}

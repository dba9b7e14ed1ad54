#include "config/config_reader.h"

#include <cstring>
#include <new>
#include <string_view>

#include "config/config_error.h"
#include "config/config_parser.h"
#include "config/config_preprocessor.h"
#include "config/config_tree.h"
#include "status.h"

Tovisk::Tovisk() = default;
Tovisk::~Tovisk() = default;

int Tovisk::rap_Create(const char* file, int flags, const char* data, void* reserved, int dataLength,
                       void* reserved2) {
  (void)flags;
  (void)reserved;
  (void)reserved2;
  tree_.reset();
  lastStatus_ = status::kOk;
  lastError_.clear();
  const std::string name = file ? file : "<data>";
  try {
    if (!file && !data) throw ConfigError(status::kCannotOpen, "no config file given");
    auto tree = std::make_unique<ConfigTree>();
    ConfigPreprocessor input(limits_);
    if (data) {
      std::size_t length = dataLength >= 0 ? static_cast<std::size_t>(dataLength) : std::strlen(data);
      input.OpenBuffer(name, std::string_view(data, length));
    } else {
      input.OpenFile(name);
    }
    ConfigParser parser(input, *tree, limits_);
    parser.Parse();
    tree_ = std::move(tree);
    return status::kOk;
  } catch (const ConfigError& error) {
    lastStatus_ = error.status;
    lastError_ = error.message;
  } catch (const std::bad_alloc&) {
    lastStatus_ = status::kConfigSyntax;
    lastError_ = name + ": not enough memory to read the config text";
  }
  return lastStatus_;
}

const char* Tovisk::ErrorString(int code) {
  if (code == lastStatus_ && !lastError_.empty()) return lastError_.c_str();
  switch (code) {
    case status::kOk:
      answer_ = "no error";
      break;
    case status::kCannotOpen:
      answer_ = "the config file cannot be opened or read";
      break;
    case status::kConfigSyntax:
      answer_ = "the config text cannot be read";
      break;
    case status::kConfigInclude:
      answer_ = "an #include of the config text cannot be resolved";
      break;
    default:
      answer_ = "config reader error " + std::to_string(code);
      break;
  }
  return answer_.c_str();
}

rap_entry* Tovisk::rap_get_class(const char* name) {
  if (!tree_ || !name) return nullptr;
  rap_entry* found = ConfigTree::FindOwn(tree_->root(), name);
  return found && found->IsClass() ? found : nullptr;
}

rap_entry* Tovisk::rap_get_root() { return tree_ ? tree_->root() : nullptr; }

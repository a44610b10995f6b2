#include "actions/process/if_com_class_registered.h"

#include <cctype>

#include "actions/process/bv_registry.h"

namespace brivant {
namespace {

// Whether the store registers a server for the class `clsid` ("{...}").
bool IsClassRegistered(const std::string& clsid) {
  TBVRegistry registry(KEY_READ);
  registry.SetRootKey(platform::kHKeyClassesRoot);
  for (const char* server : {"InprocServer32", "LocalServer32"}) {
    if (registry.OpenKey("CLSID\\" + clsid + "\\" + server, /*can_create=*/false)) return true;
  }
  return false;
}

// The CLSID that HKCR\<prog_id>\CLSID names, if any.
std::optional<std::string> ClassOfProgID(const std::string& prog_id) {
  TBVRegistry registry(KEY_READ);
  registry.SetRootKey(platform::kHKeyClassesRoot);
  if (prog_id.empty() || !registry.OpenKey(prog_id + "\\CLSID", /*can_create=*/false))
    return std::nullopt;
  try {
    return ParseGuid(registry.ReadString(""));
  } catch (const ERegistryException&) {
    return std::nullopt;
  }
}

}  // namespace

std::optional<std::string> ParseGuid(const std::string& text) {
  // Positions of the dashes inside the braces.
  constexpr size_t kLength = 38;
  if (text.size() != kLength || text.front() != '{' || text.back() != '}') return std::nullopt;
  std::string canonical = text;
  for (size_t i = 1; i + 1 < kLength; ++i) {
    bool dash_position = i == 9 || i == 14 || i == 19 || i == 24;
    unsigned char c = static_cast<unsigned char>(text[i]);
    if (dash_position ? c != '-' : !std::isxdigit(c)) return std::nullopt;
    canonical[i] = static_cast<char>(std::toupper(c));
  }
  return canonical;
}

const PropertyTable& TBVIfCOMClassRegistered::Properties() {
  using T = TBVIfCOMClassRegistered;
  static const PropertyTable table(
      nullptr, {
                   Property("UseProgID", &T::use_prog_id_).Default("True"),
                   Property("CLSID", &T::clsid_),
                   Property("ProgID", &T::prog_id_),
                   Property("Invert", &T::invert_).Default("False"),
                   Property("FailIfNotRegistered", &T::fail_if_not_registered_).Default("False"),
               });
  return table;
}

bool TBVIfCOMClassRegistered::Execute() {
  std::string text;
  last_result_ = false;
  if (use_prog_id_) {
    if (!TryExpandExpression("Programmatic ID", prog_id_, text, true)) {
      SendMessage("Programmatic ID is invalid.", stError);
      return false;
    }
    // Looked up by the stored text: the expansion only names it in the log.
    std::optional<std::string> clsid = ClassOfProgID(prog_id_);
    last_result_ = clsid && IsClassRegistered(*clsid);
  } else {
    if (!TryExpandExpression("Class ID (GUID)", clsid_, text, true)) {
      SendMessage("Class ID (GUID) is invalid.", stError);
      return false;
    }
    bool opens = !text.empty() && text.front() == '{';
    bool closes = !text.empty() && text.back() == '}';
    if (!opens && !closes) text = "{" + text + "}";
    std::optional<std::string> clsid = ParseGuid(text);
    if (!clsid) {
      SendMessage("Class ID " + text + " is not a valid GUID.", stError);
      return false;
    }
    last_result_ = IsClassRegistered(*clsid);
  }
  SendMessage("COM Class " + text + (last_result_ ? " is registered." : " is not registered."),
              stInfo);
  if (fail_if_not_registered_) return TestResult();
  if (!TestResult()) SetActionStatus(asConditionNotMet);
  return true;
}

void TBVIfCOMClassRegistered::GetNextActionSource(TBVNextActionSourceState state,
                                                  TBVNextAction& next) {
  TCustomBVAction::GetNextActionSource(state, next);
  if (state == nssAfterExecute && !TestResult()) next = naLeaveContainer;
}

}  // namespace brivant

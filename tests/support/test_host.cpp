#include "tests/support/test_host.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "host/expander.h"
#include "host/process_runner.h"
#include "package/exceptions.h"
#include "package/status_tag.h"

namespace brivant::testing {

void TestHost::Define(const std::string& name, const Variant& value) { variables.Set(name, value); }

std::vector<ValidationError> TestHost::Validate(TCustomBVAction& action) {
  action.AttachHost(this);
  TestValidationErrors errors;
  bool valid = action.Validate(errors);
  EXPECT_EQ(valid, errors.errors.empty()) << "Validate's result disagrees with its report";
  return errors.errors;
}

bool TestHost::Run(TCustomBVAction& action) {
  action.AttachHost(this);
  return action.Execute();
}

std::vector<std::string> TestHost::Texts(TStatusTag tag) const {
  std::vector<std::string> texts;
  for (const LoggedMessage& message : messages) {
    if (message.tag == tag) texts.push_back(message.text);
  }
  return texts;
}

std::string TestHost::VariableText(const std::string& name) const {
  std::optional<Variant> value = variables.Get(name);
  return value ? value->ToString() : "<undefined>";
}

void TestHost::AddProjectObject(const std::string& kind, const std::string& name,
                                IBVProjectObject* object) {
  objects_.objects[{kind, name}] = object;
}

void TestHost::SendMessage(const std::string& text, TStatusTag tag) {
  messages.push_back({tag, text});
  events.push_back(std::string(StatusTagName(tag)) + ": " + text);
}

void TestHost::SendProgress(const std::string& text, int percent) {
  progress.emplace_back(text, percent);
  events.push_back("progress " + std::to_string(percent) + ": " + text);
}

void TestHost::StartMessageGroup(const std::string& title, TMessageGroupType, TStatusTag) {
  ++open_groups;
  events.push_back("group-start: " + title);
}

void TestHost::EndMessageGroup(TStatusTag tag) {
  EXPECT_GT(open_groups, 0) << "a message group was closed that was never opened";
  --open_groups;
  events.push_back("group-end: " + std::string(StatusTagName(tag)));
}

std::optional<std::string> TestHost::Resolve(const std::string& name) const {
  if (std::optional<Variant> value = variables.Get(name)) return value->ToString();
  if (const char* value = std::getenv(name.c_str())) return std::string(value);
  return std::nullopt;
}

std::string TestHost::ExpandExpression(const std::string& text, bool) {
  return host::ExpandReferences(
      text, [this](const std::string& name) { return Resolve(name); }, /*fail_on_unknown=*/true);
}

std::string TestHost::ExpandExpression(const std::string& text, int* replaced,
                                       bool fail_on_error) {
  return host::ExpandReferences(
      text, [this](const std::string& name) { return Resolve(name); }, fail_on_error, replaced);
}

bool TestHost::TryExpandExpression(const std::string& property_title, const std::string& text,
                                   std::string* result, bool single_line) {
  try {
    *result = ExpandExpression(text, single_line);
    return true;
  } catch (const EVariableException& e) {
    SendMessage(host::ExpansionFailureMessage(property_title, e.what()), stError);
    return false;
  }
}

Variant TestHost::GetVariableValue(const std::string& name) {
  std::optional<Variant> value = variables.Get(name);
  if (!value) throw EVariableException(host::UndefinedVariableMessage(name));
  return *value;
}

void TestHost::SetVariable(const std::string& name, const Variant& value) {
  variables.Set(name, value);
}

bool TestHost::IsVariableDefined(const std::string& name) { return variables.IsDefined(name); }

void TestHost::GetVariablesList(TStrings* names, bool) {
  for (const std::string& name : variables.Names()) names->push_back(name);
}

void TestHost::Sleep(uint32_t milliseconds) {
  std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

Variant TestHost::ExecuteScript(TCustomBVAction& action, const TBVActionScript& script,
                                ScriptParameters* parameters,
                                std::chrono::milliseconds /*timeout*/) {
  if (!script_runner) throw EFailAction("the test host runs no scripts");
  return script_runner(action, script, parameters);
}

ProcessOutcome TestHost::RunProcess(const ProcessRequest& request,
                                    const ProcessEvents& process_events) {
  return host::RunProcess(request, process_events);
}

IBVProjectObject* TestHost::Objects::FindObject(const std::string& kind, const std::string& name) {
  auto it = objects.find({kind, name});
  return it == objects.end() ? nullptr : it->second;
}

std::string TestHost::Options::ReadString(const std::string& options_name, const std::string& key,
                                          const std::string& default_value) {
  auto it = values.find({options_name, key});
  return it == values.end() ? default_value : it->second;
}

bool TestHost::Options::WriteString(const std::string& options_name, const std::string& key,
                                    const std::string& value, std::string*) {
  values[{options_name, key}] = value;
  return true;
}

ScopedTempDir::ScopedTempDir() {
  std::string pattern = (std::filesystem::temp_directory_path() / "brivant-test-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) ADD_FAILURE() << "mkdtemp failed for " << pattern;
  path_ = pattern;
}

ScopedTempDir::~ScopedTempDir() {
  std::error_code error;
  // Restore write permission that a test took away, so removal works.
  for (auto it = std::filesystem::recursive_directory_iterator(path_, error);
       !error && it != std::filesystem::recursive_directory_iterator(); it.increment(error)) {
    if (it->is_directory(error) && !it->is_symlink(error))
      std::filesystem::permissions(it->path(), std::filesystem::perms::owner_all,
                                   std::filesystem::perm_options::add, error);
  }
  std::filesystem::remove_all(path_, error);
}

std::string ReadBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  EXPECT_TRUE(in.good()) << "cannot read " << path;
  std::ostringstream content;
  content << in.rdbuf();
  return content.str();
}

void WriteBytes(const std::string& path, const std::string& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  EXPECT_TRUE(out.good()) << "cannot write " << path;
  out << bytes;
}

}  // namespace brivant::testing

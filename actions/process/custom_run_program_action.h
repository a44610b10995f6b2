// The shared middle of "Execute Program" and "Run DOS Command / Batch File":
// the fields both publish, the command line they hand to the host's process
// runner, and the return-code check that decides whether the run succeeded.
// The runner itself (start, capture, time-out, 259 and 999) is the host's.
#pragma once

#include <cstdint>
#include <string>

#include "package/execute_abstract_action.h"
#include "package/property_table.h"

namespace brivant {

// Exit code on the left, ReturnCodeToCheck on the right; stored by ordinal.
enum TBVRunReturnCodeComparator : uint8_t {
  rcLessThan = 0,
  rcLessThanEqualTo = 1,
  rcEqualTo = 2,
  rcNotEqual = 3,
  rcGreaterThanEqualTo = 4,
  rcGreaterThan = 5,
};

template <>
struct EnumTraits<TBVRunReturnCodeComparator> {
  static const EnumInfo& Info();
};

// Whether `exit_code` passes the check; an ordinal outside the enumeration
// never does. Signed 32-bit, so -1 is less than 0.
bool CompareReturnCode(int32_t exit_code, TBVRunReturnCodeComparator comparator,
                       int32_t value_to_check);

class TCustomRunProgramAction : public TBVExecuteAbstractAction {
 public:
  // ReturnCode before the first run and after a run that never started.
  static constexpr int32_t kNotRunReturnCode = 2147483647;

  TCustomRunProgramAction();

  std::string GetFormattedDescription() const override;
  bool Validate(IBVActionValidationError& errors) override;
  void GetHiddenProperties(TStrings& list) const override;
  void GetPropertyAlias(TStrings& list) const override;
  void GetPropertyHelp(TStrings& list) const override;

  bool BeforeExecute(ICommandLineBuilder& builder) override;
  std::string GetExecutable() override;
  bool GetCommandLine(ICommandLineBuilder& builder) override;
  std::string GetStartingDir() override;
  bool InterpretResult(int exit_code) override;
  // The messages of InterpretResult are the whole report.
  void OnFailure(int /*exit_code*/) override {}

  // The expanded and trimmed parameters. Throws EVariableException when an
  // expression cannot be expanded.
  virtual std::string GetCommandLineParams();

  const std::string& GetProgramName() const { return program_name_; }
  void SetProgramName(const std::string& name) { program_name_ = name; }
  const std::string& GetParams() const { return params_; }
  virtual void SetParams(const std::string& params) { params_ = params; }
  const std::string& GetStartInDir() const { return start_in_dir_; }
  void SetStartInDir(const std::string& dir) { start_in_dir_ = dir; }
  int32_t GetReturnCode() const { return return_code_; }
  int32_t GetReturnCodeToCheck() const { return return_code_to_check_; }
  void SetReturnCodeToCheck(int32_t value) { return_code_to_check_ = value; }
  TBVRunReturnCodeComparator GetReturnCodeComparator() const { return comparator_; }
  void SetReturnCodeComparator(TBVRunReturnCodeComparator c) { comparator_ = c; }
  bool GetEnableReturnCodeCheck() const { return enable_return_code_check_; }
  void SetEnableReturnCodeCheck(bool enable) { enable_return_code_check_ = enable; }
  bool GetEnableLiveCapture() const { return enable_live_capture_; }
  void SetEnableLiveCapture(bool enable) { enable_live_capture_ = enable; }
  // Legacy minimum success code of old projects: N becomes "at most N".
  int32_t GetSuccessRC() const { return return_code_to_check_; }
  void SetSuccessRC(int32_t value);

 protected:
  // The published list of "Execute Program", in published order; the DOS
  // action republishes it without ProgramName.
  static const PropertyTable& ProgramProperties();
  // Appends the parameters to the command line as the program receives them.
  virtual void AddParameters(ICommandLineBuilder& builder, const std::string& params);
  // The description's main property.
  virtual const std::string& DescribedProperty() const { return program_name_; }

 private:
  // The host context's failure answer, which decides when the return-code
  // check is off: the runner ended the process, or the build is stopping.
  bool HasContextFailed();

  std::string program_name_;
  std::string params_;
  std::string start_in_dir_;
  int32_t return_code_ = kNotRunReturnCode;
  int32_t return_code_to_check_ = 0;
  TBVRunReturnCodeComparator comparator_ = rcEqualTo;
  bool enable_return_code_check_ = true;
  bool enable_live_capture_ = true;
};

}  // namespace brivant

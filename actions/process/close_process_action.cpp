#include "actions/process/close_process_action.h"

#include "package/string_utils.h"
#include "platform/user_process.h"

namespace brivant {

const PropertyTable& TBVCloseProcessAction::Properties() {
  using T = TBVCloseProcessAction;
  static const PropertyTable table(&TBVAction::Properties(),
                                   {
                                       Property("ProcessID", &T::process_id_),
                                       Property("ProcessIDInt", &T::process_id_int_).Default("0"),
                                       Property("Timeout", &T::timeout_).Default("False"),
                                       Property("TimeoutLimit", &T::timeout_limit_).Default("3"),
                                       Property("SendWMClose", &T::send_wm_close_).Default("False"),
                                   });
  return table;
}

std::string TBVCloseProcessAction::GetFormattedDescription() const {
  return std::string(send_wm_close_ ? "Close" : "Quit") +
         " Process [ PID:" + std::to_string(process_id_int_) + " ]";
}

void TBVCloseProcessAction::GetHiddenProperties(TStrings& list) const {
  TBVAction::GetHiddenProperties(list);
  list.push_back("ProcessIDInt");
}

void TBVCloseProcessAction::GetPropertyAlias(TStrings& list) const {
  TBVAction::GetPropertyAlias(list);
  list.insert(list.end(), {"[Close Process]", "ProcessID=Process ID", "Timeout=Timeout",
                           "TimeoutLimit=Timeout Limit", "SendWMClose=Send Close"});
}

void TBVCloseProcessAction::GetPropertyHelp(TStrings& list) const {
  TBVAction::GetPropertyHelp(list);
  list.insert(
      list.end(),
      {"ProcessID=The Windows Process ID of the process to send the close process message to",
       "Timeout=Set to true to close the process if it doesn't quit in a resonable time",
       "TimeoutLimit=The time to wait before closing the process",
       "SendWMClose=Set this to send a WM_Close message, otherwise a WM_Quit will be sent"});
}

bool TBVCloseProcessAction::Execute() {
  std::string text;
  if (!TryExpandExpression("ProcessID", process_id_, text, true)) return false;
  int32_t number = kInvalidProcessID;
  if (!TryStrToInt(text, &number)) number = kInvalidProcessID;
  process_id_int_ = static_cast<uint32_t>(number);
  if (number == kInvalidProcessID) {
    SendMessage("Invalid Process ID : " + std::to_string(kInvalidProcessID), stError);
    return false;
  }
  SendMessage("Closing Process with ID " + std::to_string(process_id_int_), stInfo);
  std::unique_ptr<platform::UserProcess> window = platform::UserProcess::Find(process_id_int_);
  if (!window) {
    SendMessage("A window handle for the desired process ID could not be found.", stError);
    return false;
  }
  // Posted: a process that has just ended is not an error here.
  if (send_wm_close_) {
    SendMessage("Sending main window a WM_CLOSE message", stInfo);
    (void)window->Signal(platform::ProcessSignal::kClose);
  } else {
    SendMessage("Sending main window a WM_QUIT message", stInfo);
    (void)window->Signal(platform::ProcessSignal::kQuit);
  }
  if (timeout_) {
    int64_t limit = int64_t{timeout_limit_} * 10;
    int64_t counter = 0;
    do {
      Sleep(100);
      ++counter;
    } while (window->IsRunning() && counter <= limit);
    if (counter > limit) {
      SendMessage("Timed out waiting for process to close. Terminating process.", stInfo);
      (void)window->Signal(platform::ProcessSignal::kKill);
    }
  }
  SendMessage("Success", stSuccess);
  return true;
}

}  // namespace brivant

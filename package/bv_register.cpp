// The package entry: registers the package's actions, script methods and
// constants with the host and, when the designer is present, its property
// editors and property pages, in the order the host's palette and designer
// rely on.
#include "package/bv_register.h"

#include "actions/text/create_text_file_action.h"
#include "actions/text/read_text_file_action.h"
#include "actions/text/write_to_text_file_action.h"
#include "actions/values/date_time_action.h"
#include "actions/values/random_number_action.h"
#include "pages/frames.h"

namespace brivant {
namespace {

constexpr const char* kFilesAndDirectories = "Files & Directories";
constexpr const char* kMisc = "Misc";

void RegisterActions(IBVServices& services, bool /*is_design_time*/) {
  auto action = [&services](const char* category, const TBVActionClass& action_class,
                            const char* icon) {
    services.ActionService().RegisterAction(category, action_class, icon);
  };
  action(kMisc, ActionClassOf<TDateTimeAction>(), "HDATETIME");
  action(kFilesAndDirectories, ActionClassOf<TBVCreateTextFileAction>(), "HCREATEFILE");
  action(kFilesAndDirectories, ActionClassOf<TBVWriteToTextFileAction>(), "WRITETOTEXTFILE");
  action(kFilesAndDirectories, ActionClassOf<TBVReadTextFileAction>(), "READTEXTFILE");
  // The random number action reuses the file-size icon.
  action(kMisc, ActionClassOf<TBVRandomNumberAction>(), "FILESIZE");
}

void RegisterPropertyEditors(IBVServices& /*services*/) {
  // None of the registered actions has an editor of its own yet.
}

void RegisterFrames(IBVServices& services) {
  auto frames = [&services](const TBVActionClass& action_class,
                            std::vector<TBVDesignClass> pages_in_order) {
    services.ActionService().RegisterActionFrames(action_class, pages_in_order);
  };
  frames(ActionClassOf<TDateTimeAction>(), {pages::TGetDateTimeFrame()});
  frames(ActionClassOf<TBVCreateTextFileAction>(), {pages::TCreateFileFrame()});
  frames(ActionClassOf<TBVWriteToTextFileAction>(), {pages::TWriteToTextFileFrame()});
  frames(ActionClassOf<TBVReadTextFileAction>(), {pages::TReadFileFrame()});
  frames(ActionClassOf<TBVRandomNumberAction>(), {pages::TRandomFrame()});
}

}  // namespace

void RegisterPackage(IBVServices& services) {
  RegisterActions(services, services.IsDesignTime());
  if (!services.IsDesignTime()) return;
  RegisterPropertyEditors(services);
  RegisterFrames(services);
}

}  // namespace brivant

extern "C" BRIVANT_EXPORT void BVRegister(brivant::IBVServices* services) {
  if (services != nullptr) brivant::RegisterPackage(*services);
}

// The package's one exported entry. The host looks BVRegister up by name in
// the loaded module and calls it once.
#pragma once

#include "package/registration.h"

#define BRIVANT_EXPORT __attribute__((visibility("default")))

namespace brivant {

// What BVRegister does; callable directly by tests and static hosts.
void RegisterPackage(IBVServices& services);

}  // namespace brivant

extern "C" BRIVANT_EXPORT void BVRegister(brivant::IBVServices* services);

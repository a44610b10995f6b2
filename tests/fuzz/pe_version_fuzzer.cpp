// Fuzz target for the version-resource reader: any bytes must give a
// resource or an error with a reason, never a crash or a read outside the
// data. Built with -DBRIVANT_FUZZ=ON under clang (libFuzzer); seed it with the
// test binaries: build/tests/fuzz/pe_version_fuzzer -max_total_time=60 tests/data/pe
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "actions/checksums/pe_version_resource.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  brivant::MemoryByteSource source(std::string_view(reinterpret_cast<const char*>(data), size));
  brivant::VersionResource resource;
  std::string error;
  bool ok = brivant::ReadVersionResource(source, &resource, &error);
  if (!ok && error.empty()) std::abort();
  if (ok) {
    // Exercise the lookups over whatever was parsed.
    (void)resource.FindString("FileVersion");
    (void)resource.FindString("companyname");
  }
  return 0;
}

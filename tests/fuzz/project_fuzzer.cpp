// Fuzz target for the project loader: any bytes must give a loaded project or
// an error that names the file, never a crash. Built with -DBRIVANT_FUZZ=ON
// under clang (libFuzzer); run: build/tests/fuzz/project_fuzzer -max_total_time=60
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "host/action_registry.h"
#include "host/project.h"
#include "package/bv_register.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static brivant::host::ActionRegistry* registry = [] {
    auto* r = new brivant::host::ActionRegistry();
    brivant::RegisterPackage(*r);
    return r;
  }();
  static const std::string path = [] {
    std::string p = "/tmp/brivant-fuzz-XXXXXX";
    int fd = mkstemp(p.data());
    if (fd < 0) std::abort();
    return p;
  }();
  {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  }
  brivant::host::Project project;
  std::string error;
  if (!brivant::host::LoadProject(path, *registry, &project, &error) &&
      error.rfind(path, 0) != 0) {
    std::fprintf(stderr, "error without the file name: %s\n", error.c_str());
    std::abort();
  }
  return 0;
}

#include "actions/checksums/checksum_file.h"

namespace brivant {

void ForEachBlockOf(const std::string& path, const platform::BlockConsumer& consume) {
  platform::OsError error = platform::ReadFileInBlocks(path, consume);
  if (error) throw EFileReadError(error.Describe());
}

}  // namespace brivant

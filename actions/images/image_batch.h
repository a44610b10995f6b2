// What the image action and the lossless JPEG transform share: the input and
// output enumerations, the output name of an image, and the run over one file
// or a file set.
//
// A file set is processed on every core while the log reads as if the images
// had been done one after another: workers decode, transform and encode into
// memory, and the build thread logs each image's lines and puts its output in
// place in file-set order. After the first failure no further image is
// started; results of later images still in flight are dropped unwritten, so
// the outputs on disk are exactly those of the images before the failure.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "package/custom_bv_action.h"
#include "package/property_table.h"

namespace brivant {

enum TInputImage { SingleImage = 0, UseFileSet = 1 };
enum TOutputLocation { EditInputImages = 0, ToNewDir = 1, ToNewFilename = 2 };

template <>
struct EnumTraits<TInputImage> {
  static const EnumInfo& Info();
};
template <>
struct EnumTraits<TOutputLocation> {
  static const EnumInfo& Info();
};

struct ImageLogLine {
  std::string text;
  TStatusTag tag;
};

// One image as a worker left it, for the build thread to log and commit.
struct ImageResult {
  std::vector<ImageLogLine> before;  // logged before the output is put in place
  bool ok = false;                   // false: `before` ends with the reason
  std::string output_path;
  std::optional<std::string> output_bytes;  // nothing to write when empty
  std::string write_failure;                // logged, then the OS message, when writing fails
  std::vector<ImageLogLine> after;          // logged once the output is in place
  bool ok_after = true;                     // false: `after` ends with the reason
};

// The properties both actions publish, as expanded for one run.
struct ImageBatchSettings {
  TInputImage input_image = SingleImage;
  std::string input_filename;
  std::string input_fileset;
  TOutputLocation output_location = EditInputImages;
  std::string output_dir;
  std::string output_filename;
  bool output_preserve_dirs = false;
  bool detailed_output = false;
};

// The output file of `input`: the input itself, the same name in the output
// directory (below the input's directory relative to `base_dir`, compared
// ignoring case, when directories are preserved), or the one output file.
std::string ImageOutputPath(const ImageBatchSettings& settings, const std::string& input,
                            const std::string& base_dir);

// Runs Execute's common steps on `action`. `process` turns one input into an
// ImageResult, given the output name ImageOutputPath chose; it is called on
// worker threads and must not touch the action's host. `refuse_existing` is
// asked on the build thread before an output is written and logs its reason
// when it answers true.
class ImageBatch {
 public:
  using Process =
      std::function<ImageResult(const std::string& input, const std::string& output_path)>;
  using RefuseExisting = std::function<bool(const std::string& output_path)>;

  ImageBatch(TCustomBVAction& action, ImageBatchSettings settings, Process process,
             RefuseExisting refuse_existing)
      : action_(action),
        settings_(std::move(settings)),
        process_(std::move(process)),
        refuse_existing_(std::move(refuse_existing)) {}

  // Expands the properties through the host and processes the input; false
  // once anything failed (already logged).
  bool Run();

 private:
  bool ExpandSettings();
  bool RunFileSet();
  bool RunFiles(const std::vector<std::string>& files, const std::string& base_dir);
  ImageResult ProcessOne(const std::string& input, const std::string& base_dir) const;
  // Logs `result` and puts its output in place; false when the image failed.
  bool Commit(const ImageResult& result);

  TCustomBVAction& action_;
  ImageBatchSettings settings_;
  Process process_;
  RefuseExisting refuse_existing_;
};

}  // namespace brivant

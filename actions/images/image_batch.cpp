#include "actions/images/image_batch.h"

#include <algorithm>
#include <cctype>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <thread>

#include "package/action_host.h"
#include "package/string_utils.h"
#include "platform/file_system.h"

namespace brivant {
namespace {

std::string WithTrailingDelimiter(std::string path) {
  if (path.empty() || path.back() != '/') path += '/';
  return path;
}

// `text` without the first occurrence of `part`, compared ignoring case.
std::string RemoveFirstIgnoringCase(const std::string& text, const std::string& part) {
  auto same = [](char a, char b) {
    return std::tolower(static_cast<unsigned char>(a)) ==
           std::tolower(static_cast<unsigned char>(b));
  };
  auto found = std::search(text.begin(), text.end(), part.begin(), part.end(), same);
  if (part.empty() || found == text.end()) return text;
  std::string result = text;
  result.erase(static_cast<size_t>(found - text.begin()), part.size());
  return result;
}

// Workers beyond the build thread's own work: one per core. Results wait in
// order; the window keeps memory bounded by a few encoded images per core.
class OrderedWorkers {
 public:
  using Job = std::function<ImageResult(size_t index)>;
  OrderedWorkers(size_t count, Job job) : count_(count), job_(std::move(job)), results_(count) {
    unsigned threads = std::max(1u, std::thread::hardware_concurrency());
    window_ = 2 * threads;
    for (unsigned i = 0; i < threads; ++i) threads_.emplace_back([this] { Work(); });
  }
  ~OrderedWorkers() {
    {
      std::lock_guard lock(mutex_);
      stopped_ = true;
    }
    changed_.notify_all();
    for (std::thread& thread : threads_) thread.join();
  }
  OrderedWorkers(const OrderedWorkers&) = delete;
  OrderedWorkers& operator=(const OrderedWorkers&) = delete;

  // Waits for the result of file `index`; the caller takes them in order.
  ImageResult Take(size_t index) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return results_[index].has_value(); });
    ImageResult result = std::move(*results_[index]);
    results_[index].reset();
    taken_ = index + 1;
    changed_.notify_all();
    return result;
  }

 private:
  void Work() {
    for (;;) {
      size_t index;
      {
        std::unique_lock lock(mutex_);
        changed_.wait(lock,
                      [&] { return stopped_ || next_ >= count_ || next_ < taken_ + window_; });
        if (stopped_ || next_ >= count_) return;
        index = next_++;
      }
      ImageResult result = job_(index);
      {
        std::lock_guard lock(mutex_);
        results_[index] = std::move(result);
      }
      changed_.notify_all();
    }
  }

  size_t count_;
  Job job_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::optional<ImageResult>> results_;
  size_t next_ = 0;   // the next file a worker starts
  size_t taken_ = 0;  // results before this one have been taken
  size_t window_ = 1;
  bool stopped_ = false;
  std::vector<std::thread> threads_;
};

}  // namespace

const EnumInfo& EnumTraits<TInputImage>::Info() {
  static const EnumInfo info{"TInputImage", {"SingleImage", "UseFileSet"}};
  return info;
}

const EnumInfo& EnumTraits<TOutputLocation>::Info() {
  static const EnumInfo info{"TOutputLocation", {"EditInputImages", "ToNewDir", "ToNewFilename"}};
  return info;
}

std::string ImageOutputPath(const ImageBatchSettings& settings, const std::string& input,
                            const std::string& base_dir) {
  switch (settings.output_location) {
    case EditInputImages:
      return input;
    case ToNewFilename:
      return settings.output_filename;
    case ToNewDir:
      break;
  }
  std::string directory = WithTrailingDelimiter(settings.output_dir);
  if (settings.output_preserve_dirs)
    directory += RemoveFirstIgnoringCase(ExtractFilePath(input), WithTrailingDelimiter(base_dir));
  return directory + ExtractFileName(input);
}

bool ImageBatch::ExpandSettings() {
  std::string expanded;
  if (settings_.output_location == ToNewDir) {
    if (!action_.TryExpandExpression("Output Directory", settings_.output_dir, expanded, true))
      return false;
    settings_.output_dir = expanded;
    // An empty directory would put the outputs at the root of the file system.
    if (Trim(expanded).empty()) {
      action_.SendMessage("The output directory has not been set", stError);
      return false;
    }
  }
  if (settings_.output_location == ToNewFilename) {
    if (!action_.TryExpandExpression("Output Filename", settings_.output_filename, expanded, true))
      return false;
    settings_.output_filename = expanded;
    if (Trim(expanded).empty()) {
      action_.SendMessage("The output filename has not been set", stError);
      return false;
    }
  }
  return true;
}

bool ImageBatch::Run() {
  if (!ExpandSettings()) return false;
  if (settings_.input_image == UseFileSet) return RunFileSet();
  std::string input;
  if (!action_.TryExpandExpression("Input Image", settings_.input_filename, input, true))
    return false;
  return Commit(ProcessOne(input, ExtractFilePath(input)));
}

ImageResult ImageBatch::ProcessOne(const std::string& input, const std::string& base_dir) const {
  // A worker thread must not let an exception escape.
  try {
    return process_(input, ImageOutputPath(settings_, input, base_dir));
  } catch (const std::exception& error) {
    ImageResult result;
    result.before.push_back({"Error processing image " + input + ": " + error.what(), stError});
    return result;
  }
}

bool ImageBatch::RunFileSet() {
  if (settings_.output_location == ToNewFilename) {
    action_.SendMessage("Cannot output multiple files to same filename", stError);
    return false;
  }
  IBVProjectObjectService* objects = action_.GetProjectObjectService();
  auto* file_set = objects == nullptr ? nullptr
                                      : dynamic_cast<IBVFileSet*>(objects->FindObject(
                                            "FileSetObject", settings_.input_fileset));
  if (file_set == nullptr) {
    action_.SendMessage("File set \"" + settings_.input_fileset + "\" not found.", stError);
    return false;
  }
  std::vector<std::string> files = file_set->GetFiles();
  if (settings_.detailed_output)
    action_.SendMessage("Processing FileSet \"" + settings_.input_fileset +
                            "\".  Total images in FileSet: " + std::to_string(files.size()),
                        stInfo);
  return RunFiles(files, file_set->GetBaseDir());
}

bool ImageBatch::RunFiles(const std::vector<std::string>& files, const std::string& base_dir) {
  if (files.empty()) return false;
  OrderedWorkers workers(files.size(),
                         [&](size_t index) { return ProcessOne(files[index], base_dir); });
  size_t count = files.size();
  for (size_t i = 0; i < count; ++i) {
    if (action_.IsStopSignalled()) {
      action_.SendMessage("Stop signalled... aborting", stError);
      return false;
    }
    action_.SendProgress("Processing image " + std::to_string(i + 1) + " of " +
                             std::to_string(count) + " : " + files[i],
                         static_cast<int>((i + 1) * 100 / count));
    if (!Commit(workers.Take(i))) return false;
  }
  return true;
}

bool ImageBatch::Commit(const ImageResult& result) {
  for (const ImageLogLine& line : result.before) action_.SendMessage(line.text, line.tag);
  if (!result.ok) return false;
  if (result.output_bytes) {
    if (settings_.output_location == ToNewDir) {
      std::string directory = ExtractFilePath(result.output_path);
      if (platform::CreateDirectories(directory) || !platform::DirectoryExists(directory)) {
        action_.SendMessage("Unable to create output directory: " + directory, stError);
        return false;
      }
    }
    if (refuse_existing_(result.output_path)) return false;
    if (platform::OsError error =
            platform::WriteFileAtomically(result.output_path, *result.output_bytes)) {
      action_.SendMessage(result.write_failure, stError);
      action_.SendMessage(error.Describe(), stError);
      return false;
    }
  }
  for (const ImageLogLine& line : result.after) action_.SendMessage(line.text, line.tag);
  return result.ok_after;
}

}  // namespace brivant

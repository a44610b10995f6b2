// Shared set-up of the image action tests: small images of four colour
// quadrants made with libvips, and where those quadrants are found again.
#pragma once

#include <gtest/gtest.h>
#include <vips/vips.h>

#include <filesystem>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "package/custom_bv_action.h"
#include "tests/support/action_test.h"
#include "tests/support/listed_file_set.h"

namespace brivant::testing {

class ImageActionTest : public ActionTest {
 protected:
  static void SetUpTestSuite() {
    ASSERT_EQ(vips_init("tests"), 0);
    // Files are rewritten under the same name; a cached load would be stale.
    vips_cache_set_max(0);
  }

  // Sets properties from their project-file texts.
  static void Configure(TCustomBVAction& action,
                        const std::vector<std::pair<std::string, std::string>>& values) {
    for (const auto& [name, text] : values) SetText(action, name, text);
  }

  // Writes a width x height image of red, green, blue and white quadrants
  // (top left, top right, bottom left, bottom right), in the format the
  // extension names, with an EXIF orientation when not 0.
  std::string MakeQuadrants(const std::string& name, int width = 64, int height = 48,
                            int orientation = 0) const {
    std::filesystem::create_directories(std::filesystem::path(Path(name)).parent_path());
    std::vector<unsigned char> pixels(static_cast<size_t>(width) * height * 3);
    static constexpr unsigned char kColours[4][3] = {
        {255, 0, 0}, {0, 255, 0}, {0, 0, 255}, {255, 255, 255}};
    for (int y = 0; y < height; ++y)
      for (int x = 0; x < width; ++x) {
        const unsigned char* colour = kColours[(y >= height / 2) * 2 + (x >= width / 2)];
        std::copy(colour, colour + 3, &pixels[(static_cast<size_t>(y) * width + x) * 3]);
      }
    VipsImage* image = vips_image_new_from_memory_copy(pixels.data(), pixels.size(), width, height,
                                                       3, VIPS_FORMAT_UCHAR);
    if (orientation != 0) vips_image_set_int(image, VIPS_META_ORIENTATION, orientation);
    // Without an orientation, no EXIF block at all.
    std::string target = Path(name) + (orientation == 0 ? "[strip]" : "");
    EXPECT_EQ(vips_image_write_to_file(image, target.c_str(), nullptr), 0) << vips_error_buffer();
    g_object_unref(image);
    return Path(name);
  }

  // The colours found at the centres of the four quadrants, as letters in
  // the order top left, top right, bottom left, bottom right ("RGBW"), then
  // "@" and the size ("RGBW@64x48"); "unreadable" when libvips cannot load it.
  static std::string Describe(const std::string& path) {
    VipsImage* image = vips_image_new_from_file(path.c_str(), nullptr);
    if (image == nullptr) {
      vips_error_clear();
      return "unreadable";
    }
    int width = image->Xsize, height = image->Ysize;
    std::string layout;
    for (auto [fx, fy] : {std::pair{1, 1}, {3, 1}, {1, 3}, {3, 3}})
      layout += ColourAt(image, width * fx / 4, height * fy / 4);
    g_object_unref(image);
    return layout + "@" + std::to_string(width) + "x" + std::to_string(height);
  }

  // 'R', 'G', 'B', 'W', 'K' (black) or '?' for the pixel at x, y.
  static char ColourAt(VipsImage* image, int x, int y) {
    double* values = nullptr;
    int count = 0;
    if (vips_getpoint(image, &values, &count, x, y, nullptr) != 0) return '?';
    int bits = 0;
    for (int band = 0; band < std::min(count, 3); ++band) bits |= (values[band] > 127) << band;
    g_free(values);
    if (count < 3) return bits ? 'W' : 'K';
    static const std::map<int, char> kLetters = {{1, 'R'}, {2, 'G'}, {4, 'B'}, {7, 'W'}, {0, 'K'}};
    auto found = kLetters.find(bits);
    return found == kLetters.end() ? '?' : found->second;
  }

  // A truncated JPEG, one that claims 60000 x 60000 pixels and plain text
  // named .jpg.
  std::vector<std::string> MakeBadJpegs() const {
    std::string truncated = MakeQuadrants("truncated.jpg", 640, 480);
    WriteBytes(truncated, ReadBytes(truncated).substr(0, 2000));
    std::string bomb = MakeQuadrants("bomb.jpg");
    Patch(bomb, ReadBytes(bomb).find("\xFF\xC0") + 5, "\xEA\x60\xEA\x60");
    WriteBytes(Path("text.jpg"), "just some text\n");
    return {truncated, bomb, Path("text.jpg")};
  }
  // Overwrites bytes of a file at `offset`.
  static void Patch(const std::string& path, size_t offset, const std::string& bytes) {
    std::string content = ReadBytes(path);
    content.replace(offset, bytes.size(), bytes);
    WriteBytes(path, content);
  }
};

}  // namespace brivant::testing

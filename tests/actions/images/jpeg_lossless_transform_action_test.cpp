#include "actions/images/jpeg_lossless_transform_action.h"

#include "tests/actions/images/image_fixture.h"

namespace brivant::testing {
namespace {

class JpegLosslessTransformActionTest : public ImageActionTest {
 protected:
  bool Transform(const std::string& input, const char* transform,
                 std::vector<std::pair<std::string, std::string>> more = {}) {
    TBVJPEGLosslessTransformAction action;
    more.insert(more.begin(), {{"InputFilename", input}, {"Transform", transform}});
    Configure(action, more);
    host_.messages.clear();
    return host_.Run(action);
  }
  static int Orientation(const std::string& path) {
    VipsImage* image = vips_image_new_from_file(path.c_str(), nullptr);
    if (image == nullptr) return -1;
    int orientation = vips_image_get_orientation(image);
    g_object_unref(image);
    return orientation;
  }
};

TEST_F(JpegLosslessTransformActionTest, AutoTransformUndoesEachOrientationOnce) {
  const std::pair<const char*, const char*> rows[] = {
      {"RGBW@64x48", "top left side - no rotation necessary"},
      {"GRWB@64x48", "top right side - flip horizontal"},
      {"WBGR@64x48", "bottom right side - rotate 180\u00b0"},
      {"BWRG@64x48", "bottom left side - flip vertical"},
      {"RBGW@48x64", "top left side - transpose"},
      {"BRWG@48x64", "top right side - rotate 90\u00b0"},
      {"WGBR@48x64", "bottom right side - transverse"},
      {"GWRB@48x64", "bottom left side - rotate 270\u00b0"},
  };
  for (int orientation = 1; orientation <= 8; ++orientation) {
    SCOPED_TRACE(orientation);
    const auto& [expected, text] = rows[orientation - 1];
    std::string input = MakeQuadrants("o.jpg", 64, 48, orientation);
    ASSERT_TRUE(Transform(input, "jptExifAuto"));
    EXPECT_EQ(host_.Texts(stSuccess), std::vector<std::string>{"Processed image: " + input +
                                                               ", Auto EXIF transform: " + text});
    EXPECT_EQ(Describe(input), expected);
    EXPECT_EQ(Orientation(input), 1);
    // A second run finds orientation 1 and leaves the file as it is.
    std::string once = ReadBytes(input);
    ASSERT_TRUE(Transform(input, "jptExifAuto"));
    EXPECT_EQ(ReadBytes(input), once);
  }
}

TEST_F(JpegLosslessTransformActionTest, FileWithoutExifIsReportedUnknownAndUntouched) {
  std::string input = MakeQuadrants("plain.jpg");
  std::string before = ReadBytes(input);
  ASSERT_TRUE(Transform(input, "jptExifAuto"));
  EXPECT_EQ(host_.Texts(stSuccess),
            std::vector<std::string>{"Processed image: " + input +
                                     ", Auto EXIF transform: unknown (no orientation "
                                     "informaion in jpg file)"});
  EXPECT_EQ(ReadBytes(input), before);
}

TEST_F(JpegLosslessTransformActionTest, ChosenTransformsAndTransposeAsVerticalFlip) {
  std::string vertical = MakeQuadrants("v.jpg");
  std::string transposed = MakeQuadrants("t.jpg");
  ASSERT_TRUE(Transform(vertical, "jptVertFlip"));
  ASSERT_TRUE(Transform(transposed, "jptTranspose"));
  EXPECT_EQ(host_.Texts(stSuccess),
            std::vector<std::string>{"Processed image: " + transposed + ", transpose"});
  EXPECT_EQ(Describe(vertical), "BWRG@64x48");
  EXPECT_EQ(ReadBytes(transposed), ReadBytes(vertical));

  std::string rotated = MakeQuadrants("r.jpg");
  ASSERT_TRUE(Transform(rotated, "jptRotate90"));
  EXPECT_EQ(Describe(rotated), "BRWG@48x64");
}

TEST_F(JpegLosslessTransformActionTest, CopiesOverwriteOrRefuseAnExistingOutput) {
  std::string input = MakeQuadrants("in/a.jpg");
  std::string before = ReadBytes(input);
  std::filesystem::create_directories(Path("out"));
  WriteBytes(Path("out/a.jpg"), "old");
  ASSERT_TRUE(Transform(input, "jptHorizFlip",
                        {{"OutputLocation", "ToNewDir"}, {"OutputDir", Path("out")}}));
  EXPECT_EQ(Describe(Path("out/a.jpg")), "GRWB@64x48");
  EXPECT_EQ(ReadBytes(input), before);

  WriteBytes(Path("out/a.jpg"), "old");
  EXPECT_FALSE(Transform(input, "jptHorizFlip",
                         {{"OutputLocation", "ToNewDir"},
                          {"OutputDir", Path("out")},
                          {"FailIfFileExistsInDir", "True"}}));
  EXPECT_EQ(host_.Texts(stError), std::vector<std::string>{"Error copying file"});
  EXPECT_EQ(ReadBytes(Path("out/a.jpg")), "old");
}

// An EXIF block whose first directory names itself as the next one.
std::string LoopingExif() {
  std::string tiff("II*\0\x08\0\0\0", 8);
  tiff += std::string("\x01\0", 2);                               // one entry
  tiff += std::string("\x12\x01\x03\0\x01\0\0\0\x06\0\0\0", 12);  // Orientation 6
  tiff += std::string("\x08\0\0\0", 4);                           // next: itself
  std::string payload = std::string("Exif\0\0", 6) + tiff;
  size_t length = payload.size() + 2;
  return std::string("\xFF\xE1", 2) + static_cast<char>(length >> 8) +
         static_cast<char>(length & 0xFF) + payload;
}

TEST_F(JpegLosslessTransformActionTest, BadInputIsReportedAndLeftUntouched) {
  const std::vector<std::string> bad = MakeBadJpegs();
  std::string looping = MakeQuadrants("looping.jpg");
  WriteBytes(looping, "\xFF\xD8" + LoopingExif() + ReadBytes(looping).substr(2));
  const std::pair<std::string, const char*> rows[] = {{bad[0], "jptRotate90"},
                                                      {bad[1], "jptRotate90"},
                                                      {bad[2], "jptExifAuto"},
                                                      {looping, "jptExifAuto"}};
  for (const auto& [input, transform] : rows) {
    SCOPED_TRACE(input);
    std::string before = ReadBytes(input);
    EXPECT_FALSE(Transform(input, transform));
    std::vector<std::string> errors = host_.Texts(stError);
    ASSERT_EQ(errors.size(), 2u);
    EXPECT_EQ(errors[0], "Error transforming image file: " + input);
    EXPECT_FALSE(errors[1].empty());
    EXPECT_EQ(ReadBytes(input), before);
  }
}

}  // namespace
}  // namespace brivant::testing

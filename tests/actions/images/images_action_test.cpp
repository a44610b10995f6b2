#include "actions/images/images_action.h"

#include <tuple>

#include "tests/actions/images/image_fixture.h"

namespace brivant::testing {
namespace {

using Settings = std::vector<std::pair<std::string, std::string>>;

class ImagesActionTest : public ImageActionTest {
 protected:
  // Runs one image through a fresh action into out/, as PNG unless told.
  std::string RunOne(const std::string& input, const Settings& settings) {
    TBVImagesAction action;
    Configure(action,
              {{"InputFilename", input}, {"OutputDir", Path("out")}, {"DetailedOutput", "True"}});
    Configure(action, settings);
    result_ = host_.Run(action);
    return Path("out/" + std::filesystem::path(input).stem().string() + ".png");
  }
  bool result_ = false;
};

TEST_F(ImagesActionTest, EachOperationMovesTheQuadrantsWhereItShould) {
  const std::tuple<Settings, const char*> rows[] = {
      {Settings{}, "RGBW@64x48"},
      {{{"MirrorImage", "True"}}, "GRWB@64x48"},
      {{{"FlipImage", "True"}}, "BWRG@64x48"},
      {{{"RotateImage", "Rotate90"}}, "BRWG@48x64"},
      {{{"RotateImage", "Rotate180"}}, "WBGR@64x48"},
      {{{"RotateImage", "Rotate270"}}, "GWRB@48x64"},
      {{{"RotateImage", "FreeRotate"}, {"CustomRotate", "90"}}, "BRWG@48x64"},
      // Mirror comes before the rotation.
      {{{"MirrorImage", "True"}, {"RotateImage", "Rotate90"}}, "WGBR@48x64"},
  };
  std::string input = MakeQuadrants("in.png");
  for (const auto& [settings, expected] : rows) {
    SCOPED_TRACE(expected);
    std::filesystem::remove_all(Path("out"));
    std::string output = RunOne(input, settings);
    ASSERT_TRUE(result_);
    EXPECT_EQ(Describe(output), expected);
  }
  EXPECT_EQ(Describe(input), "RGBW@64x48");
}

// 30 degrees clockwise: the red quadrant's centre (-16, -12 from the middle)
// lands at (-7.9, -18.4); counter-clockwise it would be at (-19.9, -2.4),
// which clockwise shows blue.
TEST_F(ImagesActionTest, FreeRotationTurnsClockwiseOnAnEnlargedCanvas) {
  std::string output =
      RunOne(MakeQuadrants("in.png"), {{"RotateImage", "FreeRotate"}, {"CustomRotate", "30"}});
  ASSERT_TRUE(result_);
  VipsImage* image = vips_image_new_from_file(output.c_str(), nullptr);
  ASSERT_NE(image, nullptr);
  EXPECT_NEAR(image->Xsize, 80, 1);
  EXPECT_NEAR(image->Ysize, 74, 1);
  double cx = image->Xsize / 2.0, cy = image->Ysize / 2.0;
  EXPECT_EQ(ColourAt(image, static_cast<int>(cx - 7.9), static_cast<int>(cy - 18.4)), 'R');
  EXPECT_EQ(ColourAt(image, static_cast<int>(cx - 19.9), static_cast<int>(cy - 2.4)), 'B');
  EXPECT_EQ(ColourAt(image, 0, 0), 'K');
  g_object_unref(image);
  EXPECT_EQ(host_.Texts(stSuccess)[0], "Rotate image 30 degrees");
}

TEST_F(ImagesActionTest, ResizeFollowsTheConditionAndTheAspectRatio) {
  // info: the line that says why nothing changed
  const std::tuple<Settings, const char*, const char*> rows[] = {
      {{{"ResizeImage", "PixelResize"}, {"ResizeWhen", "ResizeWhenTooBig"}},
       "400x300",
       "Image not resized because it's already small enough"},
      {{{"ResizeImage", "PixelResize"}, {"ResizeWhen", "ResizeAlways"}}, "640x480", ""},
      {{{"ResizeImage", "PixelResize"}, {"ResizeWhen", "ResizeWhenTooSmall"}}, "640x480", ""},
      {{{"ResizeImage", "PixelResize"},
        {"ResizeWhen", "ResizeWhenTooSmall"},
        {"ResizePixelWidth", "320"},
        {"ResizePixelHeight", "200"}},
       "400x300",
       "Image not resized because it's already big enough"},
      {{{"ResizeImage", "PixelResize"}, {"ResizePixelWidth", "200"}}, "200x150", ""},
      {{{"ResizeImage", "PixelResize"},
        {"MaintainAspectRatio", "False"},
        {"ResizePixelWidth", "100"},
        {"ResizePixelHeight", "50"},
        {"ResizeAlgorithm", "rfNone"}},
       "100x50",
       ""},
      {{{"ResizeImage", "PercentageResize"}, {"ResizePercent", "50"}}, "200x150", ""},
      {{{"ResizeImage", "PercentageResize"},
        {"ResizePercent", "25"},
        {"ResizeAlgorithm", "rfLanczos3"}},
       "100x75",
       ""},
  };
  std::string input = MakeQuadrants("in.png", 400, 300);
  for (const auto& [settings, size, info] : rows) {
    SCOPED_TRACE(size);
    host_.messages.clear();
    std::filesystem::remove_all(Path("out"));
    std::string output = RunOne(input, settings);
    ASSERT_TRUE(result_);
    EXPECT_EQ(Describe(output), std::string("RGBW@") + size);
    std::vector<std::string> infos = host_.Texts(stInfo);
    EXPECT_EQ(std::count(infos.begin(), infos.end(), info), *info ? 1 : 0);
  }
}

TEST_F(ImagesActionTest, EveryOutputFormatIsReadableWithItsSizeAndExtension) {
  const std::tuple<const char*, const char*, const char*> rows[] = {
      {"a.png", "ofGIF", "out/a.gif"},      {"b.png", "ofJPG", "out/b.jpg"},
      {"c.png", "ofBMP", "out/c.bmp"},      {"d.jpg", "ofPNG", "out/d.png"},
      {"e.png", "ofPDF", "out/e.pdf"},      {"f.png", "ofTIF", "out/f.tiff"},
      {"g.gif", "ofNoChange", "out/g.gif"}, {"h.bmp", "ofNoChange", "out/h.bmp"},
      {"i.tif", "ofNoChange", "out/i.tif"},
  };
  for (const auto& [input, format, output] : rows) {
    SCOPED_TRACE(output);
    TBVImagesAction action;
    Configure(action, {{"InputFilename", MakeQuadrants(input)},
                       {"OutputDir", Path("out")},
                       {"OutputFormat", format}});
    ASSERT_TRUE(host_.Run(action));
    EXPECT_EQ(Describe(Path(output)), "RGBW@64x48");
  }
}

TEST_F(ImagesActionTest, AutoRotateUndoesEveryOrientationAndResetsIt) {
  const char* expected[] = {"RGBW@64x48", "GRWB@64x48", "WBGR@64x48", "BWRG@64x48",
                            "RBGW@48x64", "BRWG@48x64", "WGBR@48x64", "GWRB@48x64"};
  for (int orientation = 1; orientation <= 8; ++orientation) {
    SCOPED_TRACE(orientation);
    std::string input =
        MakeQuadrants("o" + std::to_string(orientation) + ".jpg", 64, 48, orientation);
    TBVImagesAction action;
    Configure(
        action,
        {{"InputFilename", input}, {"OutputDir", Path("out")}, {"RotateImage", "AutoRotate"}});
    ASSERT_TRUE(host_.Run(action));
    std::string output = Path("out/o" + std::to_string(orientation) + ".jpg");
    EXPECT_EQ(Describe(output), expected[orientation - 1]);
    VipsImage* image = vips_image_new_from_file(output.c_str(), nullptr);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(vips_image_get_orientation(image), 1);
    g_object_unref(image);
  }
}

TEST_F(ImagesActionTest, FileSetKeepsDirectoriesAndStopsAtTheFirstFailure) {
  std::vector<std::string> files;
  for (const char* name : {"a/1.png", "a/2.png", "b/3.png", "b/4.png", "c/5.png"})
    files.push_back(MakeQuadrants(std::string("set/") + name));
  WriteBytes(files[3], "not an image");
  ListedFileSet set(Path("set"), files);
  host_.AddProjectObject("FileSetObject", "Photos", &set);
  TBVImagesAction action;
  Configure(action, {{"InputImage", "UseFileSet"},
                     {"InputFileset", "Photos"},
                     {"OutputDir", Path("out")},
                     {"MirrorImage", "True"}});
  EXPECT_FALSE(host_.Run(action));
  EXPECT_EQ(Describe(Path("out/a/1.png")), "GRWB@64x48");
  EXPECT_EQ(Describe(Path("out/b/3.png")), "GRWB@64x48");
  EXPECT_FALSE(std::filesystem::exists(Path("out/b/4.png")));
  EXPECT_FALSE(std::filesystem::exists(Path("out/c")));
  ASSERT_EQ(host_.progress.size(), 4u);
  EXPECT_EQ(host_.progress[3], std::make_pair("Processing image 4 of 5 : " + files[3], 80));
  EXPECT_EQ(host_.Texts(stError)[0], "Error processing image file: " + files[3]);

  // A second run refuses to overwrite the first image's output.
  host_.messages.clear();
  EXPECT_FALSE(host_.Run(action));
  EXPECT_EQ(host_.Texts(stError),
            std::vector<std::string>{"File already exists: " + Path("out/a/1.png")});
}

TEST_F(ImagesActionTest, StopRequestWritesNoFurtherImage) {
  ListedFileSet set(Path("set"), {MakeQuadrants("set/1.png"), MakeQuadrants("set/2.png")});
  host_.AddProjectObject("FileSetObject", "Photos", &set);
  host_.stop_signalled = true;
  TBVImagesAction action;
  Configure(action,
            {{"InputImage", "UseFileSet"}, {"InputFileset", "Photos"}, {"OutputDir", Path("out")}});
  EXPECT_FALSE(host_.Run(action));
  EXPECT_EQ(host_.Texts(stError), std::vector<std::string>{"Stop signalled... aborting"});
  EXPECT_FALSE(std::filesystem::exists(Path("out")));
}

// Not the root of the file system.
TEST_F(ImagesActionTest, EmptyOutputDirectoryIsRefused) {
  TBVImagesAction action;
  Configure(action, {{"InputFilename", MakeQuadrants("in.png")}});
  EXPECT_FALSE(host_.Run(action));
  EXPECT_EQ(host_.Texts(stError),
            std::vector<std::string>{"The output directory has not been set"});
}

// Damaged files fail with a line that names them and stay as they were.
TEST_F(ImagesActionTest, BadInputIsReportedAndLeftUntouched) {
  std::vector<std::string> inputs = MakeBadJpegs();
  inputs.push_back(MakeQuadrants("chunk.png"));
  Patch(inputs.back(), ReadBytes(inputs.back()).find("IDAT") + 6, "\x55\xAA");
  for (const std::string& input : inputs) {
    SCOPED_TRACE(input);
    std::string before = ReadBytes(input);
    host_.messages.clear();
    TBVImagesAction action;
    Configure(action, {{"InputFilename", input},
                       {"OutputLocation", "EditInputImages"},
                       {"RotateImage", "Rotate90"}});
    EXPECT_FALSE(host_.Run(action));
    std::vector<std::string> errors = host_.Texts(stError);
    ASSERT_EQ(errors.size(), 2u);
    EXPECT_EQ(errors[0], "Error processing image file: " + input);
    EXPECT_FALSE(errors[1].empty());
    EXPECT_EQ(ReadBytes(input), before);
  }
}

}  // namespace
}  // namespace brivant::testing

#include "pages/file_attribute_editor.h"

#include <gtest/gtest.h>

namespace brivant::pages {
namespace {

TEST(FileAttributeEditor, TypedTextBecomesAnOrdinal) {
  struct Case {
    const char* text;
    int64_t ordinal;
  } cases[] = {
      {"Set", 1}, {"set", 1},         {"SET", 1},  {"Clear", 2}, {"cLEAR", 2},
      {"", 0},    {"Don't Touch", 0}, {" Set", 0}, {"Sets", 0},  {"1", 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(TFileAttributeEditor::TextToOrdinal(c.text), c.ordinal);
  }
}

TEST(FileAttributeEditor, OrdinalsShowTheirDesignerTexts) {
  EXPECT_EQ(TFileAttributeEditor::OrdinalToText(0), "Don't Touch");
  EXPECT_EQ(TFileAttributeEditor::OrdinalToText(1), "Set");
  EXPECT_EQ(TFileAttributeEditor::OrdinalToText(2), "Clear");
  EXPECT_EQ(TFileAttributeEditor::OrdinalToText(3), "3");
  EXPECT_EQ(TFileAttributeEditor::OrdinalToText(-1), "-1");
  // Every shown text reads back as its own ordinal.
  for (int64_t ordinal = 0; ordinal < 3; ++ordinal)
    EXPECT_EQ(TFileAttributeEditor::TextToOrdinal(TFileAttributeEditor::OrdinalToText(ordinal)),
              ordinal);
  EXPECT_EQ(TFileAttributeEditor::DesignClass().name, "TFileAttributeEditor");
}

}  // namespace
}  // namespace brivant::pages

#include "sim/drawing_renderer.hpp"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>

#include "discovery/menu_bar_item.hpp"

namespace kestrune::sim {
namespace {

TEST(DrawingRenderer, MainIconDrawsFrameDotsAndChevronAndLeavesTheRestClear) {
  const Image icon = MenuBarIcon::main();
  const Raster r = rasterize(*icon.drawing(), 2);
  EXPECT_EQ(r.width, 36);
  EXPECT_EQ(r.height, 36);
  EXPECT_EQ(r.alphaAt(5.4, 5.7, 2), 255);   // middle of the first dot
  EXPECT_EQ(r.alphaAt(1.5, 5.7, 2), 255);   // on the frame's left edge
  EXPECT_EQ(r.alphaAt(9.0, 15.0, 2), 255);  // the chevron's tip
  EXPECT_EQ(r.alphaAt(6.2, 7.5, 2), 0);     // inside the frame, between dots and edge
  EXPECT_EQ(r.alphaAt(1.0, 16.5, 2), 0);    // bottom-left corner
  EXPECT_EQ(r.alphaAt(0.2, 0.2, 2), 0);     // top-left corner
}

TEST(DrawingRenderer, WritesAPngFile) {
  const auto path = std::filesystem::temp_directory_path() / "kestrune-icon-test.png";
  ASSERT_TRUE(writePng(*MenuBarIcon::main().drawing(), 2, path.string()));
  EXPECT_GT(std::filesystem::file_size(path), 100U);
  std::filesystem::remove(path);
  EXPECT_FALSE(writePng(*MenuBarIcon::main().drawing(), 2, "/nonexistent-dir/icon.png"));
}

}  // namespace
}  // namespace kestrune::sim

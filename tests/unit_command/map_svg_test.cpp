#include "map/map_svg.h"

#include <gtest/gtest.h>

#include "sample_maps.h"

namespace quorin_command {
namespace {

bool holds(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

TEST(MapSvg, TellsInWordsWhatItShows) {
  const std::string svg = mapSvg(sampleMap(), "01 Opening.mp3");
  EXPECT_TRUE(holds(svg, "<title id=\"title\">Byte map of 01 Opening.mp3</title>"));
  EXPECT_TRUE(holds(svg,
                    "<desc id=\"desc\">audio: from 1 651 147 on, behind a picture of 1.6 MiB; "
                    "read: 12.1 KiB of 5.3 MiB (0.2 %) in 4 reads.</desc>"));
  EXPECT_TRUE(holds(svg, "<title>picture: 53 to 1 646 644, 1.6 MiB</title>"));
  EXPECT_TRUE(holds(svg, ">5 549 487</text>"));
}

TEST(MapSvg, KeepsHostileNamesHarmless) {
  const std::string svg = mapSvg(sampleMap(), "<script>\"&'\x01\xff]]>\n\xef\xbf\xbe.mp3");
  EXPECT_TRUE(holds(svg, "Byte map of &lt;script&gt;\"&amp;'\\x01\\xff]]&gt;\\n\\u{fffe}.mp3"));
  EXPECT_FALSE(holds(svg, "<script"));
}

TEST(MapSvg, CutsALongHeadingAlone) {
  const std::string name = std::string(100, 'a') + std::string(100, 'b');
  const std::string svg = mapSvg(sampleMap(), name);
  EXPECT_TRUE(holds(svg, "Byte map of " + name + '<'));
  EXPECT_TRUE(holds(svg, "aa…bb"));
}

TEST(MapSvg, ShowsWhereALiveStreamGoesOn) {
  const std::string svg = mapSvg(sampleLiveMap(), "http://host/live");
  EXPECT_TRUE(holds(svg, "<path class=\"audio\""));
  EXPECT_TRUE(holds(svg, "<title>audio: 417 and on</title>"));
  EXPECT_FALSE(holds(mapSvg(sampleMap(), "x"), "<path class=\"audio\""));
}

TEST(MapSvg, GrowsWithItsTable) {
  EXPECT_TRUE(holds(mapSvg(sampleUnknownMap(1), "x"), "viewBox=\"0 0 960 314\""));
  EXPECT_TRUE(holds(mapSvg(sampleLiveMap(), "x"), "viewBox=\"0 0 960 338\""));
}

}  // namespace
}  // namespace quorin_command

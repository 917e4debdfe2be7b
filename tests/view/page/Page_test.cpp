// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "support/Samples.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <tarn_kit/body/Markers.h>
#include <tarn_kit/files/Bvh.h>
#include <tarn_kit/files/Text.h>
#include <tarn_kit/session/TakeOf.h>
#include <tarn_view/page/Page.h>

#include <cmath>
#include <limits>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>
#include <zlib.h>

namespace tarn::view {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using Json = nlohmann::json;

std::string written(const PageContent& content, PageReport* report = nullptr) {
    std::ostringstream stream;
    const PageReport found = writePage(content, stream);
    if (report != nullptr) {
        *report = found;
    }
    return stream.str();
}

/// What stands in an element of the page.
std::string elementOf(const std::string& page, const std::string& id) {
    const std::size_t start = page.find('>', page.find("id=\"" + id + "\"")) + 1;
    return page.substr(start, page.find("</script>", start) - start);
}

Json factsOf(const std::string& page) { return Json::parse(elementOf(page, "facts")); }

std::string decoded(const std::string& text) {
    const std::string digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string bytes;
    unsigned bits = 0;
    unsigned have = 0;
    for (const char c : text) {
        if (c == '=') {
            break;
        }
        bits = bits << 6U | static_cast<unsigned>(digits.find(c));
        have += 6;
        if (have >= 8) {
            have -= 8;
            bytes += static_cast<char>(bits >> have & 0xFFU);
        }
    }
    return bytes;
}

/// Reads columns by what the page's script reads, written anew.
class Reader {
public:
    explicit Reader(const std::string& page) {
        const std::string compressed = decoded(elementOf(page, "columns"));
        bytes_.resize(factsOf(page)["bytes"].get<std::size_t>());
        auto size = static_cast<uLongf>(bytes_.size());
        EXPECT_EQ(uncompress(reinterpret_cast<Bytef*>(bytes_.data()), &size,    // NOLINT
                             reinterpret_cast<const Bytef*>(compressed.data()), // NOLINT
                             static_cast<uLong>(compressed.size())),
                  Z_OK);
        EXPECT_EQ(size, bytes_.size());
    }

    std::vector<std::int64_t> next(std::size_t count) {
        const int order = static_cast<unsigned char>(bytes_.at(at_));
        const std::size_t planes = static_cast<unsigned char>(bytes_.at(at_ + 1));
        at_ += 2;
        std::vector<std::int64_t> column(count);
        for (std::size_t i = 0; i < count; ++i) {
            std::uint64_t code = 0;
            for (std::size_t plane = 0; plane < planes; ++plane) {
                code |= static_cast<std::uint64_t>(
                            static_cast<unsigned char>(bytes_.at(at_ + plane * count + i)))
                        << (8 * plane);
            }
            column[i] = code % 2 == 0 ? static_cast<std::int64_t>(code / 2)
                                      : -static_cast<std::int64_t>(code / 2) - 1;
        }
        at_ += planes * count;
        for (int pass = 0; pass < order; ++pass) {
            for (std::size_t i = 1; i < count; ++i) {
                column[i] += column[i - 1];
            }
        }
        return column;
    }

    bool isAtEnd() const { return at_ == bytes_.size(); }

private:
    std::string bytes_;
    std::size_t at_ = 0;
};

kit::PerformerTake sample(const std::string& file) {
    const kit::BvhTake take = kit::readBvh(testing::samplePath(file));
    take.rig->setSpace(kit::guessSpace(*take.rig));
    return {file, take.rig, take.tracks, take.exactRate(), 0, file};
}

/// A root that moves along X and turns about Y, and an arm.
kit::PerformerTake arm(const std::vector<std::vector<float>>& rows) {
    auto rig = std::make_shared<kit::Rig>();
    rig->addJoint("Root", -1, {0, 1, 0}, {kit::Channel::Xposition, kit::Channel::Yrotation});
    rig->addEndSite(0, {0.5F, 0, 0});
    rig->setSpace({{"m", "metres", 1}});
    std::vector<std::shared_ptr<Frame>> frames;
    frames.reserve(rows.size());
    for (const auto& row : rows) {
        frames.push_back(row.empty()
                             ? nullptr
                             : std::make_shared<Frame>(Time(), kit::poseDataType, kit::Pose{row}));
    }
    return {"Anna", rig, kit::takeOf(kit::poseDataType, frames, 50), kit::Rate(50), 0, "arm.bvh"};
}

PageContent contentWith(kit::PerformerTake performer) {
    PageContent content;
    content.title = "A page";
    content.performers.push_back(std::move(performer));
    return content;
}

TEST(Page, NeedsNothingFromTheDiskOrANetwork) {
    const std::string page = written(contentWith(arm({{0, 0}})));
    EXPECT_THAT(page, HasSubstr("default-src 'none'"));
    EXPECT_THAT(page, Not(HasSubstr("src=\"")));
    EXPECT_THAT(page, Not(HasSubstr("<script src")));
    EXPECT_THAT(page, HasSubstr("The MIT License")) << "of what the page draws with";
}

TEST(Page, KeepsJointsWithinHalfAMillimetreAndSaysHowFarTheyAreOff) {
    for (const char* const file : {"cmu_131_01_walk.bvh", "cmu_60_12_salsa_a.bvh"}) {
        PageReport report;
        const std::string page = written(contentWith(sample(file)), &report);
        EXPECT_LT(report.largestError, 0.0005) << file;
        EXPECT_GT(report.largestError, 0.00001) << "nothing is exact in steps of 0.1 mm";
        EXPECT_EQ(factsOf(page)["largestError"], report.largestError);
    }
}

TEST(Page, ColumnsSayWherePositionsAndRotationsAre) {
    const std::string page = written(contentWith(arm({{0.25F, 0}, {0.5F, 90}, {-1, 180}})));
    const Json facts = factsOf(page);
    const Json& nodes = facts["performers"][0]["nodes"];
    EXPECT_EQ(nodes[0]["moves"], true);
    EXPECT_EQ(nodes[0]["turns"], 4) << "a scalar part of 0 cannot be told from the others";
    EXPECT_EQ(nodes[1]["at"], (std::vector<int>{5000, 0, 0}));
    Reader reader(page);
    EXPECT_EQ(reader.next(3), (std::vector<std::int64_t>{2500, 5000, -10000}));
    EXPECT_EQ(reader.next(3), (std::vector<std::int64_t>{10000, 10000, 10000}));
    EXPECT_EQ(reader.next(3), (std::vector<std::int64_t>{0, 0, 0}));
    reader.next(3);
    EXPECT_EQ(reader.next(3), (std::vector<std::int64_t>{0, 23170, 32767}));
    reader.next(3);
    EXPECT_EQ(reader.next(3), (std::vector<std::int64_t>{32767, 23170, 0}));
    EXPECT_TRUE(reader.isAtEnd());
}

TEST(Page, ColumnsOfWhatGathersSpeedSayWhereItIs) {
    std::vector<std::vector<float>> rows;
    std::vector<std::int64_t> steps;
    for (int i = 0; i < 40; ++i) {
        steps.push_back(50 * i * (i + 1));
        rows.push_back({static_cast<float>(0.0001 * static_cast<double>(steps.back())), 0});
    }
    Reader reader(written(contentWith(arm(rows))));
    EXPECT_EQ(reader.next(steps.size()), steps);
}

TEST(Page, TurnsBeyondHalfATurnNeedNoMoreColumnsThanOthers) {
    const std::string page = written(contentWith(arm({{0, 350}, {0, 355}, {0, 365}})));
    EXPECT_EQ(factsOf(page)["performers"][0]["nodes"][0]["turns"], 3)
        << "the opposite quaternion is the same turn";
}

TEST(Page, FramesWithoutABodyAreToldFromOthers) {
    const std::string page = written(contentWith(arm({{}, {0.5F, 0}, {}})));
    EXPECT_EQ(factsOf(page)["performers"][0]["whole"], false);
    EXPECT_EQ(Reader(page).next(3), (std::vector<std::int64_t>{0, 1, 0}));
}

TEST(Page, ShowsMarkersWithHowFarTheyAreOffTheBody) {
    PageContent content;
    MarkerCloud cloud;
    cloud.name = "trial";
    cloud.names = {"LANK"};
    cloud.metresPerUnit = 0.001;
    cloud.turn = {-0.5, -0.5, -0.5, 0.5}; // Z up
    const kit::MarkerFrame there(std::vector<kit::Marker>{kit::Marker::at({1000, 2000, 3000})});
    const kit::MarkerFrame gone(std::vector<kit::Marker>{kit::Marker()});
    cloud.take = kit::takeOf(kit::markerDataType,
                             {std::make_shared<Frame>(Time(), kit::markerDataType, there),
                              std::make_shared<Frame>(Time(), kit::markerDataType, gone)},
                             100);
    cloud.rate = kit::Rate(100);
    cloud.residuals = {{0.0123F}, {std::numeric_limits<float>::quiet_NaN()}};
    content.markers.push_back(cloud);
    PageReport report;
    Reader reader(written(content, &report));
    EXPECT_EQ(reader.next(2), (std::vector<std::int64_t>{1, 0}));
    EXPECT_EQ(reader.next(2), (std::vector<std::int64_t>{20000, 20000})) << "Y goes to X";
    EXPECT_EQ(reader.next(2), (std::vector<std::int64_t>{30000, 30000})) << "Z goes up";
    EXPECT_EQ(reader.next(2), (std::vector<std::int64_t>{10000, 10000}));
    EXPECT_EQ(reader.next(2), (std::vector<std::int64_t>{124, 0})) << "12.3 mm, and not known";
    EXPECT_LT(report.largestMarkerError, 0.0001);
}

TEST(Page, NoTextBreaksOutOfItsPlace) {
    const std::string awkward = "</script><script>alert(1)</script>\"'<!--\xFF\xF0\x9F\x92\x83";
    kit::PerformerTake performer = arm({{0, 0}});
    performer.name = awkward + std::string(10'000, 'x');
    performer.source = awkward;
    PageContent content = contentWith(performer);
    content.title = "</title>" + awkward;
    content.events.push_back({0.01, awkward});
    content.notes.push_back(awkward);
    const std::string page = written(content);
    EXPECT_THAT(page, Not(HasSubstr("<script>alert")));
    EXPECT_EQ(page.find("</title>"), page.rfind("</title>"));
    const std::string shown =
        "</script><script>alert(1)</script>\"'<!--\xEF\xBF\xBD\xF0\x9F\x92\x83";
    EXPECT_EQ(factsOf(page)["events"][0]["label"], shown);
    EXPECT_EQ(factsOf(page)["performers"][0]["name"], shown + std::string(10'000, 'x'));
}

/// A page without the texts that it was given.
std::string withoutTexts(std::string page) {
    for (const auto& [start, end] :
         {std::pair("<title>", "</title>"), std::pair("id=\"facts\">", "</script>")}) {
        const std::size_t from = page.find(start) + std::string(start).size();
        page.erase(from, page.find(end, from) - from);
    }
    return page;
}

TEST(Page, TextsAtRandomChangeNothingButThemselves) {
    using namespace std::string_literals;
    const std::vector<std::string> pieces = {"<",
                                             ">",
                                             "/",
                                             "script",
                                             "SCRIPT",
                                             "</script",
                                             "<!--",
                                             "-->",
                                             "]]>",
                                             "\"",
                                             "'",
                                             "&",
                                             "&lt;",
                                             "\\",
                                             "\\u003c",
                                             "\n",
                                             "\r",
                                             "\t",
                                             "\0"s,
                                             "\x1B",
                                             "\xE2\x80\xA8",
                                             "\xF0\x9F\x92\x83",
                                             "\xFF",
                                             "\xC0\xAF",
                                             "\xE2\x80",
                                             "title",
                                             "style",
                                             " ",
                                             "x"};
    const std::string plain = withoutTexts(written(contentWith(arm({{0, 0}}))));
    std::mt19937 random(20'261'122);
    const auto text = [&] {
        std::string words;
        for (auto count = random() % 12; count > 0; --count) {
            words += pieces[random() % pieces.size()];
        }
        return words;
    };
    for (int round = 0; round < 200; ++round) {
        kit::PerformerTake performer = arm({{0, 0}});
        performer.name = text();
        performer.source = text();
        PageContent content = contentWith(performer);
        content.title = text();
        content.notes.push_back(text());
        const std::string page = written(content);
        ASSERT_EQ(withoutTexts(page), plain) << content.title;
        ASSERT_THAT(elementOf(page, "facts"), Not(HasSubstr("<")));
        const std::size_t title = page.find("<title>") + 7;
        ASSERT_EQ(page.find('<', title), page.find("</title>")) << content.title;
        const Json facts = factsOf(page);
        ASSERT_EQ(facts["title"], kit::validUtf8(content.title));
        ASSERT_EQ(facts["notes"][0], kit::validUtf8(content.notes[0]));
        ASSERT_EQ(facts["performers"][0]["name"], kit::validUtf8(performer.name));
    }
}

TEST(Page, FourteenSecondsOfTwoDancersTakeLessThanThreeMegabytes) {
    PageContent content = contentWith(sample("cmu_60_12_salsa_a.bvh"));
    content.performers.push_back(sample("cmu_61_12_salsa_b.bvh"));
    EXPECT_LT(written(content).size(), 3U << 20U);
}

std::string refusalOf(const PageContent& content) {
    std::ostringstream stream;
    try {
        writePage(content, stream);
    } catch (const std::invalid_argument& error) {
        EXPECT_TRUE(stream.str().empty()) << "something was written";
        return error.what();
    }
    return "nothing was refused";
}

TEST(Page, WhatItCannotShowIsRefusedBeforeAnythingIsWritten) {
    EXPECT_THAT(refusalOf({}), HasSubstr("shows nothing"));
    kit::PerformerTake bare = arm({{0, 0}});
    bare.rig = nullptr;
    EXPECT_THAT(refusalOf(contentWith(bare)), HasSubstr("'Anna': it has no rig"));
    const float nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_THAT(refusalOf(contentWith(arm({{0, 0}, {nan, 0}}))), HasSubstr("frame index 1"));
    EXPECT_THAT(refusalOf(contentWith(arm({{2e5F, 0}}))), HasSubstr("100 km"));
}

TEST(PageThreads, ATakeIsWrittenByManyAtOnce) {
    const PageContent content = contentWith(sample("cmu_60_12_salsa_a.bvh"));
    const std::string expected = written(content);
    std::vector<std::string> found(3);
    std::vector<std::thread> threads;
    threads.reserve(found.size());
    for (std::string& one : found) {
        threads.emplace_back([&one, &content] { one = written(content); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const std::string& one : found) {
        EXPECT_TRUE(one == expected);
    }
}

} // namespace
} // namespace tarn::view

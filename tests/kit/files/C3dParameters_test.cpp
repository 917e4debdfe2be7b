// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/files/C3dParameters.h>

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace tarn::kit {
namespace {

using Texts = std::vector<std::string>;
using Numbers = std::vector<double>;

TEST(C3dParameter, HoldsTextsOfOneLengthEach) {
    const C3dParameter labels = C3dParameter::texts("LABELS", {"LFHD", "C7", ""});
    EXPECT_EQ(labels.type, C3dType::Text);
    EXPECT_EQ(labels.dimensions, (std::vector<std::uint8_t>{4, 3}));
    EXPECT_EQ(labels.data, "LFHDC7      ");
    EXPECT_EQ(labels.texts(), (Texts{"LFHD", "C7", ""}));
    EXPECT_EQ(C3dParameter::text("UNITS", "mm").texts(), Texts{"mm"});
    EXPECT_EQ(C3dParameter::text("UNITS", "mm").text(), "mm");
    EXPECT_EQ(C3dParameter::texts("LABELS", {}).text(), "");
}

TEST(C3dParameter, EndsTextsAtTheFirstNulAndBeforeBlanks) {
    C3dParameter units = C3dParameter::text("UNITS", "mm");
    units.data = std::string("m\0m ", 4);
    units.dimensions = {4};
    EXPECT_EQ(units.text(), "m");
    units.data = "mm  ";
    EXPECT_EQ(units.text(), "mm");
}

TEST(C3dParameter, HoldsNumbers) {
    EXPECT_EQ(C3dParameter::integer("USED", 7).numbers(), Numbers{7});
    EXPECT_TRUE(C3dParameter::integer("USED", 7).dimensions.empty());
    EXPECT_EQ(C3dParameter::integers("ZERO", {1, -2, 65535}).numbers(), (Numbers{1, -2, -1}));
    EXPECT_EQ(C3dParameter::real("RATE", 59.5F).number(), 59.5);
    EXPECT_EQ(C3dParameter::reals("SCALE", {1, 0.5F}).numbers(), (Numbers{1, 0.5}));
    EXPECT_TRUE(C3dParameter::real("RATE", 1).texts().empty());
}

TEST(C3dParameter, HoldsNoMoreThanItsElements) {
    C3dParameter scales = C3dParameter::reals("SCALE", {1, 2, 3});
    scales.data.resize(9);
    EXPECT_EQ(scales.count(), 3U);
    EXPECT_EQ(scales.size(), 2U);
    EXPECT_EQ(scales.numbers(), (Numbers{1, 2}));
    scales.dimensions = {3, 0, 255};
    EXPECT_EQ(scales.count(), 0U);
    scales.dimensions.assign(255, 255);
    EXPECT_EQ(scales.size(), 2U) << "a shape beyond all bounds";
}

TEST(C3dParameter, CannotHaveMoreThan255InARow) {
    EXPECT_NO_THROW(C3dParameter::text("NOTE", std::string(255, 'x')));
    EXPECT_THROW(C3dParameter::text("NOTE", std::string(256, 'x')), std::invalid_argument);
    EXPECT_THROW(C3dParameter::texts("NOTE", Texts(256)), std::invalid_argument);
    EXPECT_THROW(C3dParameter::reals("NOTE", std::vector<float>(256)), std::invalid_argument);
}

TEST(C3dParameters, AreFoundByGroupAndNameInCapitalsOrNot) {
    C3dParameters parameters;
    EXPECT_EQ(parameters.find("POINT"), nullptr);
    parameters.set("POINT", C3dParameter::integer("USED", 7));
    EXPECT_EQ(parameters.find("point", "Used")->number(), 7);
    EXPECT_EQ(parameters.find("POINT", "RATE"), nullptr);
    EXPECT_EQ(parameters.find("ANALOG", "USED"), nullptr);
    ASSERT_NE(parameters.find("Point"), nullptr);
    EXPECT_EQ(parameters.find("Point")->find("used")->number(), 7);
}

TEST(C3dParameters, AreReplacedInPlaceAndKeepWhatIsSaidOfThem) {
    C3dParameters parameters;
    parameters.set("POINT", C3dParameter::integer("USED", 7));
    parameters.set("POINT", C3dParameter::real("RATE", 100));
    parameters.groups()[0].parameters[0].description = "how many";
    parameters.set("POINT", C3dParameter::real("USED", 8.5F));
    ASSERT_EQ(parameters.groups()[0].parameters.size(), 2U);
    EXPECT_EQ(parameters.groups()[0].parameters[0].number(), 8.5);
    EXPECT_EQ(parameters.groups()[0].parameters[0].description, "how many");
    parameters.remove("POINT", "USED");
    EXPECT_EQ(parameters.find("POINT", "USED"), nullptr);
    EXPECT_NE(parameters.find("POINT", "RATE"), nullptr);
}

TEST(C3dParameters, ContinueInNumberedOnes) {
    C3dParameters parameters;
    parameters.set("POINT", C3dParameter::texts("LABELS", {"A", "B"}));
    parameters.set("POINT", C3dParameter::texts("LABELS2", {"C"}));
    parameters.set("POINT", C3dParameter::texts("LABELS4", {"E"}));
    parameters.set("POINT", C3dParameter::reals("SCALE", {1, 2}));
    parameters.set("POINT", C3dParameter::reals("SCALE2", {3}));
    EXPECT_EQ(parameters.texts("POINT", "LABELS"), (Texts{"A", "B", "C"}));
    EXPECT_EQ(parameters.numbers("POINT", "SCALE"), (Numbers{1, 2, 3}));
    EXPECT_TRUE(parameters.texts("POINT", "DESCRIPTIONS").empty());
}

TEST(C3dParameters, AreEqualIfAllButTheirPlaceIs) {
    C3dParameters parameters;
    parameters.set("POINT", C3dParameter::integer("USED", 7));
    C3dParameters other = parameters;
    other.groups()[0].offset = 516;
    other.groups()[0].parameters[0].offset = 530;
    EXPECT_EQ(parameters, other);
    other.groups()[0].parameters[0].locked = true;
    EXPECT_NE(parameters, other);
}

} // namespace
} // namespace tarn::kit

// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "kit/files/c3d/C3dSettling.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

// Where parameters are, and in which order of bytes, whatever the file says of it.

namespace tarn::kit {
namespace {

using namespace c3d_testing;

TEST(C3dSearch, ParametersMayStartInAnyBlock) {
    FileBuilder file;
    file.parameterBlock = 5;
    file.dataBlock = 9;
    const C3dTake take = readStrictly(file.standard().bytes());
    expectData(take);
    EXPECT_EQ(take.parameters.find("POINT")->offset, 4U * 512 + 4);
}

TEST(C3dSearch, ParametersMayFollowTheData) {
    FileBuilder file;
    file.dataBlock = 2;
    std::string bytes = file.standard().header() + file.data();
    bytes.resize(1024, '\0');
    bytes[0] = 3;
    bytes += file.section();
    expectData(readBytes(bytes));
}

TEST(C3dSearch, ParametersAreFoundWhereTheHeaderIsWrongAboutThem) {
    FileBuilder file;
    std::string bytes = file.standard().bytes();
    for (const char wrong : {'\0', '\1', '\3', '\x7f'}) {
        bytes[0] = wrong;
        expectSettled(bytes, "header word 1",
                      "parameters in block " + std::to_string(static_cast<int>(wrong)), "block 2");
    }
}

TEST(C3dSearch, TheNumberOfParameterBlocksMayLie) {
    for (const int stated : {0, 1, 200}) {
        FileBuilder file;
        file.dataBlock = 8;
        file.standard();
        for (int i = 0; i < 20; ++i) {
            file.texts(1, "EXTRA" + std::to_string(i), {std::string(50, 'x')});
        }
        file.blocks = stated;
        const C3dTake take = readBytes(file.bytes());
        expectData(take);
        EXPECT_NE(take.parameters.find("POINT", "EXTRA19"), nullptr) << stated;
        EXPECT_EQ(findingOn(take, "the number of parameter blocks").has_value(), stated < 3);
    }
}

TEST(C3dSearch, WithoutParametersTheHeaderIsEnough) {
    for (const C3dEncoding encoding : allEncodings) {
        FileBuilder file(encoding);
        file.parameterBlock = 0;
        file.dataBlock = 2;
        const C3dTake take = readBytes(file.bytes());
        expectData(take);
        EXPECT_EQ(take.encoding, encoding);
        EXPECT_EQ(take.rate, 100);
        EXPECT_EQ(take.markers[2].name, "*3");
        EXPECT_TRUE(take.parameters.groups().empty());
    }
}

TEST(C3dSearch, AProcessorThatIsNoneIsTheOneThatMakesSense) {
    for (const C3dEncoding encoding : allEncodings) {
        FileBuilder file(encoding);
        std::string bytes = file.standard().bytes();
        bytes[515] = 0;
        const C3dTake take = readBytes(bytes);
        EXPECT_EQ(take.encoding, encoding);
        expectData(take);
        EXPECT_TRUE(findingOn(take, "the type of processor"));
    }
}

TEST(C3dSearch, ADamagedParameterIsNoReasonToDoubtTheProcessor) {
    // The number of the first group, then the length of the name of the first parameter.
    for (const auto& [offset, value] : {std::pair(517U, 0x80), {526U, 1}, {526U, 255}}) {
        for (const C3dEncoding encoding : allEncodings) {
            FileBuilder file(encoding);
            std::string bytes = file.standard().bytes();
            bytes[offset] = static_cast<char>(value);
            const C3dTake take = readBytes(bytes);
            expectData(take);
            EXPECT_EQ(take.encoding, encoding) << offset << ": " << value;
            EXPECT_EQ(take.rate, 100) << offset << ": " << value;
            EXPECT_FALSE(findingOn(take, "the type of processor")) << offset << ": " << value;
        }
    }
}

TEST(C3dSearch, AProcessorThatMakesNoSenseOfTheParametersIsNotBelieved) {
    FileBuilder file;
    std::string bytes = file.standard().bytes();
    bytes[515] = 86;
    const C3dTake take = readBytes(bytes);
    EXPECT_EQ(take.encoding, C3dEncoding::IntelReal);
    expectData(take);
}

TEST(C3dSearch, TheKeyOfTheHeaderMayBeMissingIfAllElseIsThere) {
    FileBuilder file;
    std::string bytes = file.standard().bytes();
    bytes[1] = 0;
    expectSettled(bytes, "header word 1", "0", "80");
}

TEST(C3dSearch, AStatedSectionWithItsHeaderIsBelievedWhateverItsFirstRecordIs) {
    FileBuilder file;
    file.standard();
    file.records.insert(file.records.begin(), {0, std::string("\1\2", 2), "junk"});
    const C3dTake take = readBytes(file.bytes());
    expectData(take);
    EXPECT_EQ(take.markers[0].name, "M1");
    EXPECT_FALSE(findingOn(take, "header word 1"));
}

} // namespace
} // namespace tarn::kit

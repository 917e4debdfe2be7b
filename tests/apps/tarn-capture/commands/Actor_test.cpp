// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "apps/support/Programs.h"

#include <gmock/gmock.h>

#include <string>

namespace tarn::tests {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

class ActorDocument : public ::testing::Test {
protected:
    /// Runs `actor` on the document with further arguments.
    Outcome actor(const Arguments& more = {}) const {
        Arguments arguments{"actor", file_};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return capture(arguments);
    }

    const TempDirectory directory_;
    const std::string file_ = directory_ / "actor.xml";
};

const char* const document = R"(<?xml version="1.0" encoding="utf-8"?>
<MocapActor>
	<ActorName>Ada</ActorName>
	<BodyDimension>
		<Height>1.720000</Height>
	</BodyDimension>
	<SensorMap>
		<Hips>3</Hips>
	</SensorMap>
</MocapActor>
)";

TEST_F(ActorDocument, IsShown) {
    writeFile(file_, document);

    const Outcome outcome = actor();

    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(outcome.err, IsEmpty());
    EXPECT_EQ(outcome.out, file_ + R"(
  name        Ada
  dimensions
    Height  1.720000
  sensor map
    Hips  3
)");
    EXPECT_EQ(readFile(file_), document);
}

TEST_F(ActorDocument, IsShownAsTextThoughItHoldsNone) {
    writeFile(file_, "<MocapActor><ActorName>A\xFF</ActorName><BodyDimension><H\xFF>1</H\xFF>"
                     "</BodyDimension><SensorMap><S\xFF>2</S\xFF></SensorMap></MocapActor>");
    EXPECT_EQ(actor().out, file_ + "\n  name        A\xEF\xBF\xBD\n"
                                   "  dimensions\n    H\xEF\xBF\xBD  1.000000\n"
                                   "  sensor map\n    S\xEF\xBF\xBD  2\n");
}

TEST_F(ActorDocument, IsMadeWhenSomethingIsSet) {
    const Outcome outcome =
        actor({"--name", "Ada", "--dimension", "Height=1.72", "--sensor", "Hips=3"});

    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_EQ(readFile(file_), document);
    EXPECT_THAT(outcome.out,
                AllOf(HasSubstr("Ada"), HasSubstr("Height  1.72"), HasSubstr("Hips  3")));
}

TEST_F(ActorDocument, KeepsWhatIsNotSet) {
    writeFile(file_, document);

    EXPECT_EQ(
        actor({"--dimension", "ArmLength=0.61", "--dimension", "Height=1.8", "--sensor", "Head=-1"})
            .exitCode,
        0);

    const std::string text = readFile(file_);
    EXPECT_THAT(text, AllOf(HasSubstr("<ActorName>Ada</ActorName>"),
                            HasSubstr("<Height>1.800000</Height>"),
                            HasSubstr("<ArmLength>0.610000</ArmLength>"),
                            HasSubstr("<Hips>3</Hips>"), HasSubstr("<Head>-1</Head>")));
}

TEST_F(ActorDocument, HoldsAZeroThatWasAskedFor) {
    const Outcome outcome = actor({"--dimension", "Foo=0"});

    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr("\n    Foo  0.000000\n"));
    EXPECT_THAT(readFile(file_), HasSubstr("\n\t<BodyDimension>\n\t\t<Foo>0.000000</Foo>\n"));
}

TEST_F(ActorDocument, HoldsASmallChangeThatWasAskedFor) {
    writeFile(file_, document);

    EXPECT_EQ(actor({"--dimension", "Height=1.720009", "--dimension", "Foo=0.00005"}).exitCode, 0);

    EXPECT_THAT(readFile(file_),
                AllOf(HasSubstr("<Height>1.720009</Height>"), HasSubstr("<Foo>0.000050</Foo>")));
}

TEST_F(ActorDocument, HoldsTheLastOfSeveralValues) {
    EXPECT_EQ(actor({"--dimension", "Foo=1", "--dimension", "Foo=0", "--sensor", "Hips=1",
                     "--sensor", "Hips=0"})
                  .exitCode,
              0);

    EXPECT_THAT(readFile(file_),
                AllOf(HasSubstr("<Foo>0.000000</Foo>"), HasSubstr("<Hips>0</Hips>"),
                      Not(HasSubstr(">1.0")), Not(HasSubstr(">1<"))));
}

TEST_F(ActorDocument, StatesTheUnitOfItsDimensionsAndIsConverted) {
    writeFile(file_, document);
    EXPECT_THAT(actor({"--unit", "m"}).out,
                HasSubstr("\n  unit        m\n  dimensions\n    Height  1.720000\n"));
    EXPECT_THAT(actor({"--unit", "cm", "--dimension", "Shoe=30"}).out,
                HasSubstr("\n  unit        cm\n  dimensions\n    Height  172.000000\n"
                          "    Shoe  30.000000\n"));
    EXPECT_THAT(readFile(file_), HasSubstr("\t<LengthUnit>cm</LengthUnit>\n"));
    EXPECT_EQ(actor({"--check"}).exitCode, 0);
    EXPECT_EQ(actor({"--unit", "cubits"}).exitCode, 2);
}

TEST_F(ActorDocument, IsFaultyWithAUnitThatIsNone) {
    writeFile(file_, "<MocapActor><ActorName>Ada</ActorName>\n<LengthUnit>cubits</LengthUnit>"
                     "</MocapActor>");
    const Outcome outcome = actor({"--check"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.err, HasSubstr(":2:1: MocapActor.LengthUnit: expected m, cm, mm, in or ft, "
                                       "found 'cubits'\n"));
}

TEST_F(ActorDocument, PassesTheCheckWhenAllIsWell) {
    writeFile(file_, document);
    const Outcome outcome = actor({"--check"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(outcome.err, IsEmpty());
}

TEST_F(ActorDocument, IsCheckedKeyByKey) {
    writeFile(file_, "<MocapActor><BodyDimension><Height>tall</Height>\n<Arm>-1</Arm><Leg>1</Leg>"
                     "\n  <Leg>2</Leg></BodyDimension><SensorMap><Hips>3.5</Hips></SensorMap>"
                     "</MocapActor>\n<SensorMap><Head>1</Head></SensorMap>");

    const Outcome outcome = actor({"--check"});

    EXPECT_EQ(outcome.exitCode, 1);
    const std::string start = "tarn-capture: " + file_;
    EXPECT_EQ(
        outcome.err,
        start + ": MocapActor.ActorName: the actor has no name\n" + start +
            ":2:1: MocapActor.BodyDimension.Arm: expected a number from 0 on, found '-1'\n" +
            start +
            ":1:28: MocapActor.BodyDimension.Height: expected a number from 0 on, found 'tall'\n" +
            start + ":3:3: MocapActor.BodyDimension.Leg: stands there more than once\n" + start +
            ":3:42: MocapActor.SensorMap.Hips: expected a whole number, found '3.5'\n" + start +
            ":4:1: SensorMap: stands beside MocapActor, where it is not read\n");
}

TEST_F(ActorDocument, LosesTheEntriesThatAreRemoved) {
    ASSERT_EQ(actor({"--name", "Ada", "--dimension", "Height=1.7", "--dimension", "Foot=0.3",
                     "--sensor", "Hips=3"})
                  .exitCode,
              0);

    const Outcome outcome =
        actor({"--remove", "BodyDimension.Height", "--remove", "MocapActor.SensorMap"});

    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(outcome.out,
                AllOf(HasSubstr("Foot  0.3"), Not(HasSubstr("Height")), Not(HasSubstr("Hips"))));
    EXPECT_THAT(readFile(file_), AllOf(HasSubstr("<Foot>"), HasSubstr("<ActorName>Ada<"),
                                       Not(HasSubstr("Height")), Not(HasSubstr("SensorMap"))));
}

TEST_F(ActorDocument, ComesFromStandardInputAndGoesToStandardOutput) {
    writeFile(file_, document);
    // $1 is the program, $2 the document.
    const auto script = [&](const std::string& text) {
        return runProgram("sh", {"-c", text, "sh", captureProgram(), file_});
    };
    const Outcome shown = script(R"("$1" actor - --check < "$2")");
    EXPECT_EQ(shown.exitCode, 0);
    EXPECT_THAT(shown.out, HasSubstr("-\n  name "));

    const Outcome changed =
        script(R"("$1" actor - --name Eve < "$2" | "$1" actor - --dimension Nose=0.1)");
    EXPECT_EQ(changed.exitCode, 0);
    EXPECT_THAT(changed.out, AllOf(StartsWith("<?xml"), HasSubstr("<ActorName>Eve<"),
                                   HasSubstr("<Nose>0.100000<")));
    EXPECT_EQ(readFile(file_), document);

    const Outcome broken = script(R"(echo '<a' | "$1" actor -)");
    EXPECT_EQ(broken.exitCode, 1);
    EXPECT_THAT(broken.err, StartsWith("tarn-capture: stdin:1:1: the tag of 'a' is not closed"));
}

TEST_F(ActorDocument, StaysAsItWasWhenThereIsNoEntryToRemove) {
    writeFile(file_, document);
    const Outcome outcome = actor({"--name", "Eve", "--remove", "BodyDimension.Wing"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.err, "tarn-capture: --remove 'BodyDimension.Wing': there is no such entry\n");
    EXPECT_EQ(readFile(file_), document);
}

TEST_F(ActorDocument, MustBeThereToBeShown) {
    const Outcome outcome = actor();
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.err, "tarn-capture: " + file_ + ": No such file or directory\n");
}

TEST_F(ActorDocument, MustBeADocumentOfAnActor) {
    const auto expectFailure = [this](const std::string& text, const std::string& reason) {
        writeFile(file_, text);
        for (const Arguments& arguments : {Arguments{}, Arguments{"--name", "Ada"}}) {
            const Outcome outcome = actor(arguments);
            EXPECT_EQ(outcome.exitCode, 1);
            EXPECT_THAT(outcome.err, HasSubstr(file_ + reason));
        }
        EXPECT_EQ(readFile(file_), text);
    };
    expectFailure("\n<MocapActor>", ":2:1: the element 'MocapActor' has no end tag");
    expectFailure("junk", ":1:1: expected an element, found 'junk'");
    expectFailure("<Camera/>", ": not an actor's document");
}

TEST_F(ActorDocument, IsLeftAloneWhenTheCommandLineIsAtFault) {
    writeFile(file_, document);
    const auto expectUsageError = [this](const Arguments& arguments, const std::string& reason) {
        const Outcome outcome = actor(arguments);
        EXPECT_EQ(outcome.exitCode, 2);
        EXPECT_THAT(outcome.err, HasSubstr(reason));
        EXPECT_EQ(readFile(file_), document);
    };
    expectUsageError({"--name", "Eve", "--dimension", "Height"}, "expected NAME=VALUE");
    expectUsageError({"--dimension", "Height=tall"}, "expected NAME=VALUE");
    expectUsageError({"--dimension", "Height=-1"}, "expected NAME=VALUE");
    expectUsageError({"--dimension", "Height=inf"}, "expected NAME=VALUE");
    expectUsageError({"--dimension", "Height=nan"}, "expected NAME=VALUE");
    expectUsageError({"--dimension", "Height=1e39"}, "expected NAME=VALUE");
    expectUsageError({"--dimension", "=1"}, "expected NAME=VALUE");
    expectUsageError({"--sensor", "Hips=2147483648"}, "expected NAME=NUMBER");
    expectUsageError({"--dimension", "Arm.Left=1"}, "a name must not hold");
    expectUsageError({"--sensor", "Hips=1.5"}, "expected NAME=NUMBER");
    expectUsageError({"--sensor", "Left Foot=1"}, "a name must not hold");
    EXPECT_EQ(capture({"actor"}).exitCode, 2);
}

TEST_F(ActorDocument, SaysWhenItCannotBeWritten) {
    writeFile(file_, document);
    const std::string below = file_ + "/actor.xml"; // a file is no directory
    const Outcome outcome = capture({"actor", below, "--name", "Ada"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.err, "tarn-capture: " + below + ": cannot be written\n");
    EXPECT_THAT(outcome.out, IsEmpty());
    EXPECT_EQ(readFile(file_), document);
}

TEST_F(ActorDocument, StaysAsItWasWhenANameIsNoText) {
    writeFile(file_, document);
    const Outcome outcome = actor({"--name", "A\x01"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.err, "tarn-capture: " + file_ + ": cannot be written\n");
    EXPECT_EQ(readFile(file_), document);
}

TEST_F(ActorDocument, IsNoTakeAndSaysWhoReadsOne) {
    for (const char* const start : {"HIERARCHY\nROOT Hips", "SQLite format 3", "\2\x50\1"}) {
        writeFile(file_, start);
        const Outcome outcome = actor();
        EXPECT_EQ(outcome.exitCode, 1);
        EXPECT_EQ(outcome.err,
                  "tarn-capture: " + file_ +
                      ": is a take, where an actor's document is needed; 'info' describes it\n");
    }
}

TEST_F(ActorDocument, CommandExplainsItself) {
    const Outcome outcome = capture({"actor", "--help"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(outcome.out, AllOf(HasSubstr("--name"), HasSubstr("--dimension"),
                                   HasSubstr("--sensor"), HasSubstr("--check")));
}

} // namespace
} // namespace tarn::tests

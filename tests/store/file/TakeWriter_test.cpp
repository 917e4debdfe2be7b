// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_store/file/TakeWriter.h>

#include "store/RandomTakes.h"
#include "support/TemporaryDirectory.h"

#include <tarn_store/file/TakeReader.h>

#include <gtest/gtest.h>

#include <any>
#include <memory>
#include <string>
#include <vector>

namespace tarn::store {
namespace {

using tarn::testing::expectEqual;
using tarn::testing::RandomTakes;
using tarn::testing::readFile;
using tarn::testing::TemporaryDirectory;
using tarn::testing::writeFile;

void writeTake(const std::string& file, const std::shared_ptr<Tracks>& take) {
    TakeWriter writer(file, "test");
    writer.write(take);
    writer.commit();
}

TEST(TakeWriter, KeepsTakesOfAllKindsAsTheyAre) {
    const TemporaryDirectory directory;
    for (unsigned seed = 0; seed < 20; ++seed) {
        SCOPED_TRACE(seed);
        const auto take = RandomTakes(seed).take();
        const std::string file = directory / std::to_string(seed);
        writeTake(file, take);
        const auto again = TakeReader(file).load();
        ASSERT_NE(again, nullptr);
        expectEqual(*take, *again);
    }
}

TEST(TakeWriter, KeepsAScene) {
    const TemporaryDirectory directory;
    RandomTakes random(3);
    Scene scene;
    scene.setValue("Studio.Stage", "B <&> C");
    scene.setDescription(random.name());
    scene.setNote("x'); DROP TABLE fact; --");
    scene.setSceneTime(Time(7, 120));
    scene.setTracks(random.take());
    Character ada("1", "Ada");
    Character bo("2", "Бо");
    Actor actor;
    actor.setActorName("Ada");
    actor.setBodyDimension("Height", 1.72F);
    ada.setActor(&actor);
    ada.setTracks(scene.tracks());
    ada.setValue("Suit", "M");
    bo.setTracks(random.take());
    scene.addCharacter(&ada);
    scene.addCharacter(&bo);
    scene.selectCharacter(&bo);
    scene.selectCharacter(&ada);
    scene.setCurrentCharacter(&bo);
    {
        TakeWriter writer(directory / "scene.tarn", "test");
        writer.write(scene);
        writer.commit();
    }

    const StoredScene stored = TakeReader(directory / "scene.tarn").loadScene();
    Scene& again = stored.scene();
    EXPECT_EQ(again.value("Studio.Stage", ""), "B <&> C");
    EXPECT_EQ(again.description(), scene.description());
    EXPECT_EQ(again.note(), scene.note());
    EXPECT_EQ(again.sceneTime(), scene.sceneTime());
    expectEqual(*again.tracks(), *scene.tracks());
    ASSERT_EQ(again.characters().size(), 2U);
    Character& first = *again.characters().front();
    Character& second = *again.characters().back();
    EXPECT_EQ(first.characterId(), "1");
    EXPECT_EQ(first.characterName(), "Ada");
    EXPECT_EQ(first.value("Suit", ""), "M");
    EXPECT_EQ(first.tracks(), again.tracks()) << "one take, as before";
    EXPECT_FLOAT_EQ(first.actor()->bodyDimension("Height", 0), 1.72F);
    EXPECT_EQ(second.characterName(), "Бо");
    EXPECT_EQ(second.actor(), nullptr);
    expectEqual(*second.tracks(), *bo.tracks());
    EXPECT_EQ(again.currentCharacter(), &second);
    EXPECT_EQ(again.selectedCharacters(), (std::list<Character*>{&second, &first}));
    ada.setTracks({});
    bo.setTracks({});
}

TEST(TakeWriter, RefusesSettingsThatNoDocumentCanHold) {
    const TemporaryDirectory directory;
    Scene scene;
    scene.setValue("A", std::string("\x01", 1));
    TakeWriter writer(directory / "scene.tarn", "test");
    try {
        writer.write(scene);
        FAIL();
    } catch (const StoreError& error) {
        EXPECT_EQ(error.problem(), StoreProblem::Unsupported);
    }
}

TEST(TakeWriter, LeavesWhatIsThereUntilItCommits) {
    const TemporaryDirectory directory;
    const std::string file = directory / "take.tarn";
    writeFile(file, "before");
    {
        TakeWriter writer(file, "test");
        writer.write(RandomTakes(1).take());
        EXPECT_EQ(readFile(file), "before");
    }
    EXPECT_EQ(readFile(file), "before");
    EXPECT_EQ(directory.names(), std::vector<std::string>{"take.tarn"}) << "nothing is left over";

    writeTake(file, RandomTakes(1).take());
    EXPECT_NE(readFile(file), "before");
    EXPECT_EQ(directory.names(), std::vector<std::string>{"take.tarn"}) << "one file is all";
}

TEST(TakeWriter, SaysWhatAPayloadWithoutACodecIs) {
    const TemporaryDirectory directory;
    const auto take = std::make_shared<Tracks>();
    take->setTimeLength(1);
    take->setFrame(0, 3, std::make_shared<Frame>(Time(0, 1), 3, std::any(1.5L)));
    TakeWriter writer(directory / "take.tarn", "test");
    EXPECT_THROW(writer.write(take), kit::CodecError);
}

TEST(TakeWriter, SaysWhereNoFileCanBeMade) {
    const TemporaryDirectory directory;
    EXPECT_THROW(TakeWriter(directory / "none/take.tarn", "test"), StoreError);
    EXPECT_THROW(TakeWriter(directory.path(), "test"), StoreError);
}

TEST(TakeWriter, KeepsWhatIsKnownOfATrack) {
    const TemporaryDirectory directory;
    auto rig = std::make_shared<kit::Rig>();
    rig->addJoint("Hips", -1, {0, -0.0F, 1e-42F},
                  {kit::Channel::Xposition, kit::Channel::Zrotation});
    rig->addJoint("x'); --", 0, {1, 2, 3}, {});
    rig->addEndSite(1, {0.1F, 0, 0});
    rig->setStanding(kit::UpAxis::Z);
    kit::Space space;
    space.unit = *kit::lengthUnitNamed("cm");
    space.unitOrigin = kit::Origin::Given;
    space.up = kit::UpAxis::Z;
    space.upOrigin = kit::Origin::Stated;
    rig->setSpace(space);
    TrackDescription description;
    description.subject = "Ada";
    description.rate = kit::Rate(30000, 1001);
    description.rig = rig;
    space.unit = {"smoot\tish", "", 1.7018};
    description.space = space;
    description.labels = {{"Ada", "LFHD", "left front head", "mm"}, {"", "", "", ""}};
    description.document = "<MarkerSet/>";
    const auto take = std::make_shared<Tracks>();
    const auto track = std::make_shared<Track>(1);
    take->addTrack(track, 0);
    {
        TakeWriter writer(directory / "take.tarn", "studio 3");
        writer.describe(track, description);
        writer.write(take);
        Note note;
        note.kind = "event";
        note.frame = 4;
        note.label = "Foot Strike";
        note.context = "Left";
        note.subject = "Ada";
        note.text = "late";
        writer.addNote(note);
        writer.addLoss({1, 5, 9, 3, "overflow"});
        writer.commit();
    }
    TakeReader reader(directory / "take.tarn");
    const auto tracks = reader.tracks();
    ASSERT_EQ(tracks.size(), 1U);
    const TrackDescription& again = tracks[0].description;
    EXPECT_EQ(again.subject, "Ada");
    EXPECT_EQ(again.rate, description.rate);
    EXPECT_EQ(again.document, "<MarkerSet/>");
    ASSERT_EQ(again.labels.size(), 2U);
    EXPECT_EQ(again.labels[0].description, "left front head");
    EXPECT_EQ(again.labels[0].unit, "mm");
    EXPECT_EQ(again.space->unit.metres, 1.7018);
    EXPECT_EQ(again.space->upOrigin, kit::Origin::Stated);
    ASSERT_EQ(again.rig->nodes().size(), 3U);
    EXPECT_EQ(again.rig->nodes()[1].name, "x'); --");
    EXPECT_TRUE(again.rig->nodes()[2].isEndSite());
    EXPECT_EQ(again.rig->nodes()[0].channels, rig->nodes()[0].channels);
    EXPECT_EQ(again.rig->nodes()[0].offset.z, 1e-42F);
    EXPECT_TRUE(std::signbit(again.rig->nodes()[0].offset.y));
    EXPECT_EQ(again.rig->standing(), kit::UpAxis::Z);
    EXPECT_EQ(again.rig->space().unit.symbol, "cm");
    EXPECT_EQ(again.rig->space().unit.name, space.unit.name.empty() ? "centimetres" : "");
    EXPECT_EQ(again.rig->space().unitOrigin, kit::Origin::Given);
    EXPECT_EQ(tracks[0].lost, 3);
    ASSERT_EQ(reader.notes().size(), 1U);
    EXPECT_EQ(reader.notes()[0].frame, 4);
    EXPECT_EQ(reader.notes()[0].label, "Foot Strike");
    EXPECT_EQ(reader.notes()[0].context, "Left");
    EXPECT_EQ(reader.notes()[0].utc.size(), 24U);
    ASSERT_EQ(reader.losses().size(), 1U);
    EXPECT_EQ(reader.losses()[0].reason, "overflow");
    const TakeFileFacts facts = reader.facts();
    EXPECT_EQ(facts.program, "studio 3");
    EXPECT_TRUE(facts.ended);
    EXPECT_LE(facts.startedUtc, facts.endedUtc);
}

} // namespace
} // namespace tarn::store

// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/files/Codec.h>

#include <tarn_kit/body/Analog.h>
#include <tarn_kit/body/BodyPose.h>
#include <tarn_kit/body/Markers.h>
#include <tarn_kit/body/Rig.h>
#include <tarn_kit/body/RigidBodies.h>
#include <tarn_kit/solving/MarkerFit.h>

#include <gtest/gtest.h>

#include <any>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace tarn::kit {
namespace {

using Bytes = std::vector<std::byte>;

struct Glove {
    float bend = 0;
    std::string name;
};

void addGlove(Codecs& codecs, std::uint32_t version = 1) {
    codecs.add<Glove>(
        "studio.glove", version,
        [](const Glove& glove, PayloadWriter& to) {
            to.put(glove.bend);
            to.putText(glove.name);
        },
        [](PayloadReader& from, std::uint32_t) {
            const auto bend = from.get<float>();
            return Glove{bend, from.getText()};
        });
}

Bytes encoded(const Codecs& codecs, const std::any& payload) {
    Bytes bytes;
    codecs.encode(payload, bytes);
    return bytes;
}

/// What comes back is encoded to the same bytes, under the same codec.
std::any roundTrip(const Codecs& codecs, const std::any& payload) {
    Bytes bytes;
    const CodecId& id = codecs.encode(payload, bytes);
    std::any again = codecs.decode(id, bytes.data(), bytes.size());
    Bytes twice;
    EXPECT_EQ(codecs.encode(again, twice), id);
    EXPECT_EQ(twice, bytes) << id.name;
    EXPECT_EQ(again.type(), payload.type()) << id.name;
    return again;
}

/// A number of any bits, those that are not a number included.
float anyFloat(std::mt19937& random) {
    const auto bits = static_cast<std::uint32_t>(random());
    float value = 0;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

std::uint32_t bitsOf(float value) {
    std::uint32_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

TEST(Codec, KeepsEveryBitOfTheKitsPayloads) {
    const auto codecs = Codecs::standard();
    std::mt19937 random(14);
    for (std::size_t size = 0; size < 40; ++size) {
        Pose pose;
        BodyPose body;
        std::vector<Marker> markers(size);
        std::vector<float> samples;
        std::vector<RigidBody> rigids(size);
        std::vector<FittedMarker> fitted(size);
        for (std::size_t i = 0; i < size; ++i) {
            pose.values.push_back(anyFloat(random));
            body.segments.push_back({{anyFloat(random), anyFloat(random), anyFloat(random)},
                                     {anyFloat(random), 1, 2, anyFloat(random)}});
            markers[i] = Marker::at({anyFloat(random), 1, anyFloat(random)}, anyFloat(random),
                                    static_cast<std::uint8_t>(random()));
            markers[i].state = static_cast<MarkerState>(random() % 3);
            samples.push_back(anyFloat(random));
            rigids[i].residual = anyFloat(random);
            rigids[i].rotation = {1, anyFloat(random), 3, 4};
            fitted[i].swappedWith = random();
            fitted[i].verdict = static_cast<MarkerVerdict>(random() % 5);
        }
        MarkerFit fit(fitted);
        fit.converged = size % 2 == 1;
        fit.iterations = -static_cast<int>(size);
        fit.seconds = 1.0 / 3;

        const auto poseAgain = std::any_cast<Pose>(roundTrip(*codecs, pose));
        ASSERT_EQ(poseAgain.values.size(), size);
        for (std::size_t i = 0; i < size; ++i) {
            EXPECT_EQ(bitsOf(poseAgain.values[i]), bitsOf(pose.values[i]));
        }
        const auto bodyAgain = std::any_cast<BodyPose>(roundTrip(*codecs, body));
        ASSERT_EQ(bodyAgain.segments.size(), size);
        const auto markersAgain =
            std::any_cast<MarkerFrame>(roundTrip(*codecs, MarkerFrame(markers)));
        ASSERT_EQ(markersAgain.size(), size);
        for (std::size_t i = 0; i < size; ++i) {
            EXPECT_EQ(bitsOf(bodyAgain.segments[i].rotation.w),
                      bitsOf(body.segments[i].rotation.w));
            EXPECT_EQ(bitsOf(markersAgain[i].position.z), bitsOf(markers[i].position.z));
            EXPECT_EQ(bitsOf(markersAgain[i].residual), bitsOf(markers[i].residual));
            EXPECT_EQ(markersAgain[i].cameras, markers[i].cameras);
            EXPECT_EQ(markersAgain[i].state, markers[i].state);
        }
        EXPECT_EQ(std::any_cast<AnalogFrame>(roundTrip(*codecs, AnalogFrame(samples))).size(),
                  size);
        roundTrip(*codecs, RigidBodyFrame(rigids));
        const auto fitAgain = std::any_cast<MarkerFit>(roundTrip(*codecs, fit));
        EXPECT_EQ(fitAgain.converged, fit.converged);
        EXPECT_EQ(fitAgain.iterations, fit.iterations);
        EXPECT_EQ(fitAgain.seconds, fit.seconds);
    }
}

TEST(Codec, KeepsBytesTextsAndFramesWithoutPayload) {
    const auto codecs = Codecs::standard();
    const Bytes bytes = {std::byte{0}, std::byte{255}};
    EXPECT_EQ(std::any_cast<Bytes>(roundTrip(*codecs, bytes)), bytes);
    const std::string text("a\0\xff", 3);
    EXPECT_EQ(std::any_cast<std::string>(roundTrip(*codecs, text)), text);
    EXPECT_FALSE(roundTrip(*codecs, std::any()).has_value());
}

TEST(Codec, OfAHostKeepsItsPayloads) {
    Codecs codecs;
    addGlove(codecs);
    const auto glove = std::any_cast<Glove>(roundTrip(codecs, Glove{0.25F, "left"}));
    EXPECT_EQ(glove.bend, 0.25F);
    EXPECT_EQ(glove.name, "left");
}

TEST(Codec, ThatIsNotKnownLeavesBytesThatAreWrittenBackAsTheyWere) {
    Codecs theirs;
    addGlove(theirs, 3);
    Bytes bytes;
    const CodecId id = theirs.encode(Glove{1, "right"}, bytes);

    for (const bool knowsOlder : {false, true}) {
        Codecs ours;
        if (knowsOlder) {
            addGlove(ours, 2);
        }
        EXPECT_FALSE(ours.canDecode(id));
        const std::any payload = ours.decode(id, bytes.data(), bytes.size());
        EXPECT_EQ(std::any_cast<EncodedPayload>(payload).bytes, bytes);
        EXPECT_TRUE(ours.canEncode(payload));
        Bytes again;
        EXPECT_EQ(ours.encode(payload, again), id);
        EXPECT_EQ(again, bytes);
    }
}

TEST(Codec, IsToldWhichVersionWroteTheBytes) {
    Codecs codecs;
    std::uint32_t told = 0;
    codecs.add<Glove>(
        "studio.glove", 4, [](const Glove&, PayloadWriter&) {},
        [&told](PayloadReader&, std::uint32_t version) {
            told = version;
            return Glove();
        });
    codecs.decode({"studio.glove", 2}, nullptr, 0);
    EXPECT_EQ(told, 2U);
}

TEST(Codec, RefusesBytesThatItDidNotWrite) {
    Codecs codecs;
    addGlove(codecs);
    const Bytes glove = encoded(codecs, Glove{1, "left"});
    for (std::size_t size = 0; size < glove.size(); ++size) {
        EXPECT_THROW(codecs.decode({"studio.glove", 1}, glove.data(), size), CodecError) << size;
    }
    Bytes longer = glove;
    longer.push_back(std::byte{0});
    EXPECT_THROW(codecs.decode({"studio.glove", 1}, longer.data(), longer.size()), CodecError);

    const Bytes odd(33 * 18 * 28 + 1, std::byte{1});
    for (const char* name : {"tarn.pose", "tarn.body", "tarn.markers", "tarn.analog",
                             "tarn.rigidbodies", "tarn.none"}) {
        EXPECT_THROW(codecs.decode({name, 1}, odd.data(), odd.size()), CodecError) << name;
    }
    Bytes marker = encoded(codecs, MarkerFrame({Marker()}));
    marker.back() = std::byte{3}; // no state
    EXPECT_THROW(codecs.decode({"tarn.markers", 1}, marker.data(), marker.size()), CodecError);
}

TEST(Codec, TakesNoMemoryForACountThatTheBytesCannotHold) {
    const Bytes bytes(8, std::byte{0xff});
    PayloadReader reader(bytes.data(), bytes.size());
    EXPECT_THROW(reader.getText(), CodecError);
    PayloadReader more(bytes.data(), bytes.size());
    EXPECT_THROW(more.getAll<double>(std::numeric_limits<std::size_t>::max() / 4), CodecError);
    EXPECT_EQ(more.left(), bytes.size());
}

TEST(Codec, OfRandomBytesGivesAPayloadOrAnError) {
    const auto codecs = Codecs::standard();
    std::mt19937 random(15);
    for (int i = 0; i < 2000; ++i) {
        Bytes bytes(random() % 200);
        for (std::byte& byte : bytes) {
            byte = static_cast<std::byte>(random());
        }
        for (const char* name : {"tarn.pose", "tarn.body", "tarn.markers", "tarn.analog",
                                 "tarn.rigidbodies", "tarn.markerfit"}) {
            try {
                const std::any payload = codecs->decode({name, 1}, bytes.data(), bytes.size());
                EXPECT_TRUE(payload.has_value());
            } catch (const CodecError& error) {
                EXPECT_EQ(std::string(error.what()).rfind(name, 0), 0U) << "names the codec";
            }
        }
    }
}

TEST(Codec, LeavesTheBytesAloneWhenItFails) {
    Codecs codecs;
    codecs.add<Glove>(
        "studio.glove", 1,
        [](const Glove&, PayloadWriter& to) {
            to.put(1);
            throw CodecError("no");
        },
        [](PayloadReader&, std::uint32_t) { return Glove(); });
    Bytes bytes(3);
    EXPECT_THROW(codecs.encode(Glove(), bytes), CodecError);
    EXPECT_EQ(bytes.size(), 3U);
    EXPECT_THROW(codecs.encode(1.5L, bytes), CodecError) << "nobody knows this type";
    EXPECT_FALSE(codecs.canEncode(1.5L));
}

TEST(Codec, HasANameAndATypeOfItsOwn) {
    Codecs codecs;
    addGlove(codecs);
    const auto encode = [](const auto&, PayloadWriter&) {};
    const auto decode = [](PayloadReader&, std::uint32_t) { return 0; };
    EXPECT_THROW(codecs.add<int>("studio.glove", 1, encode, decode), std::invalid_argument);
    EXPECT_THROW(codecs.add<int>("", 1, encode, decode), std::invalid_argument);
    EXPECT_THROW(codecs.add<int>("two words", 1, encode, decode), std::invalid_argument);
    EXPECT_THROW(addGlove(codecs), std::invalid_argument);
    codecs.add<int>("studio.number", 1, encode, decode);
    EXPECT_THROW(codecs.add<int>("studio.other", 1, encode, decode), std::invalid_argument);
}

TEST(CodecThreads, EncodeAndDecodeAtOnce) {
    const auto codecs = Codecs::standard();
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&codecs] {
            for (int round = 0; round < 200; ++round) {
                roundTrip(*codecs, Pose{{1, 2, 3}});
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

} // namespace
} // namespace tarn::kit

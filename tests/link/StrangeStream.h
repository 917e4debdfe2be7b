// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "link/LinkTest.h"
#include "link/Stranger.h"

#include <gtest/gtest.h>
#include <tarn_link.h>
#include <tarn_link/stream/LinkDevice.h>

#include <array>
#include <cstring>
#include <functional>
#include <optional>
#include <string>

namespace tarn::link {

inline char* textOf(const char* text) { return const_cast<char*>(text); } // NOLINT(*-const-cast)

/// A stream by hand: one body of `smallRig`, and a device that has joined it.
class StrangeStream : public testing::Test {
protected:
    static constexpr std::uint64_t stream = 77;

    StrangeStream()
        : offers(options.domain, &tarn_wire_Offer_desc, "tarn_offer", nullptr, true),
          descriptions(options.domain, &tarn_wire_Description_desc, "tarn_description_1", "stage",
                       true),
          frames(options.domain, &tarn_wire_Frame_desc, "tarn_frame_1", "stage", false) {}

    /// `sent` is of a stream that has ended: how many frames of its track there were.
    void offer(std::uint32_t version, const char* name = "stage",
               std::optional<std::uint64_t> sent = {}) const {
        tarn_wire_Offer sample{};
        sample.stream = stream;
        sample.name = textOf(name);
        sample.version = version;
        sample.host = sample.program = textOf("stranger");
        if (sent) {
            sample.ended = true;
            sample.sent._length = sample.sent._maximum = 1;
            sample.sent._buffer = &*sent;
        }
        offers.write(&sample);
    }
    /// `change` makes something wrong of it.
    void describe(const std::function<void(tarn_wire_Track&)>& change = {}) const {
        std::array<tarn_wire_RigNode, 3> nodes{};
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            nodes[i].name = textOf("joint");
            nodes[i].parent = static_cast<std::int32_t>(i) - 1;
        }
        nodes[2].is_end = true;
        tarn_wire_Rig rig{};
        rig.space.unit = rig.space.unit_name = textOf("");
        rig.nodes._length = rig.nodes._maximum = nodes.size();
        rig.nodes._buffer = nodes.data();
        tarn_wire_Track track{};
        track.subject = track.document = textOf("");
        track.data_type = kit::bodyDataType;
        track.rate_numerator = 120;
        track.rate_denominator = 1;
        track.rig._length = track.rig._maximum = 1;
        track.rig._buffer = &rig;
        if (change) {
            change(track);
        }
        tarn_wire_Description sample{};
        sample.stream = stream;
        sample.tracks._length = sample.tracks._maximum = 1;
        sample.tracks._buffer = &track;
        descriptions.write(&sample);
    }
    /// A frame of three segments whose first number is `first`.
    void send(const std::function<void(tarn_wire_Item&)>& change = {}, float first = 0.5F) {
        sendTo(frames, change, first);
    }
    void sendTo(const Stranger& writer, const std::function<void(tarn_wire_Item&)>& change = {},
                float first = 0.5F) {
        std::array<float, 21> numbers{};
        numbers[0] = first;
        numbers[6] = numbers[13] = numbers[20] = 1;
        std::array<std::uint8_t, sizeof numbers> bytes{};
        std::memcpy(bytes.data(), numbers.data(), bytes.size());
        tarn_wire_Item item{};
        item.number = next++;
        item.frame_index = static_cast<std::uint32_t>(item.number);
        item.fps = 120;
        item.codec = textOf("tarn.body");
        item.codec_version = 1;
        item.bytes._length = item.bytes._maximum = bytes.size();
        item.bytes._buffer = bytes.data();
        if (change) {
            change(item);
        }
        tarn_wire_Frame sample{};
        sample.stream = stream;
        sample.number = item.number;
        sample.items._length = sample.items._maximum = 1;
        sample.items._buffer = &item;
        writer.write(&sample);
    }
    void join() {
        offer(1);
        describe();
        device.open("stage");
        device.start();
        ASSERT_TRUE(device.awaitConnected(longEnough)) << device.whyNotConnected();
        ASSERT_TRUE(frames.awaitReader());
    }

    const LinkOptions options = ownDomain();
    const std::shared_ptr<Link> link = std::make_shared<Link>(options);
    Stranger offers;
    Stranger descriptions;
    Stranger frames;
    LinkDevice device{link, "hall"};
    std::uint64_t next = 0;
};

} // namespace tarn::link

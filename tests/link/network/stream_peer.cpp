// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "link/LinkTest.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <malloc.h>
#include <memory>
#include <string>
#include <thread>
#include <vector>

// One end of a stream of bodies whose numbers tell which frames they are:
//
//   stream_peer publish DOMAIN PEER PERFORMERS RATE RECEIVERS FRAMES
//     offers "stage" and sends once so many receivers take every frame; says how many went out,
//     how many could not, and whether all were taken
//   stream_peer steps DOMAIN PEER PERFORMERS RATE RECEIVERS
//     the same, but sends as many frames as a line of its input says, answers with how many bytes
//     it has allocated then, and waits for the next line
//   stream_peer receive DOMAIN PEER every|newest PAUSE
//     takes it to its end, or the newest until it is gone, and PAUSE microseconds for each frame;
//     says "took FRAMES WRONG ALLOCATED" now and then, and at the end "end" with what was received,
//     lost, late, out of order, skipped and refused, what was sent before it joined, how often it
//     was connected again, how many frames are not what was sent, and whether it heard of the end
//   stream_peer measure DOMAIN PEER every|newest PERFORMERS
//     the same, but looks at nothing: says at the end how many samples came whole, and how many
//     frames were lost; of the way from the publisher's port to the last port the median, the 99th
//     percentile and the longest (us, both have one clock); and when the first came after this
//     began, and the longest time between two (ms)

namespace {

using namespace tarn;
using namespace tarn::link;

constexpr int segments = 31;
const std::string stream = "stage";

kit::BodyPose bodyOf(unsigned index, int performer) {
    kit::BodyPose body;
    body.segments.reserve(segments);
    for (int i = 0; i < segments; ++i) {
        body.segments.push_back(
            {{static_cast<float>(index), static_cast<float>(performer), static_cast<float>(i)},
             {0, 0, 0, 1}});
    }
    return body;
}

bool isBodyOf(const Frame& frame, int performer) {
    const auto* const body = std::any_cast<kit::BodyPose>(&frame.data());
    if (body == nullptr || frame.dataType() != kit::bodyDataType) {
        return false;
    }
    const kit::BodyPose expected = bodyOf(frame.time().frameIndex(), performer);
    if (body->segments.size() != expected.segments.size()) {
        return false;
    }
    for (std::size_t i = 0; i < expected.segments.size(); ++i) {
        const auto& a = body->segments[i].position;
        const auto& b = expected.segments[i].position;
        if (a.x != b.x || a.y != b.y || a.z != b.z) {
            return false;
        }
    }
    return true;
}

/// By the whole program, the middleware included, in bytes. What the allocator keeps of what was
/// given back does not count.
std::size_t allocated() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

/// Offers a stream of bodies, and sends them once somebody takes every frame.
class Bodies {
public:
    Bodies(const std::shared_ptr<Link>& link, int performers, unsigned rate, int receivers)
        : performers_(performers), rate_(rate), publisher_(link, stream), source_(performers) {
        for (int i = 0; i < performers; ++i) {
            kit::TrackDescription description;
            description.subject = "performer " + std::to_string(i);
            description.rate = kit::Rate(static_cast<int>(rate));
            publisher_.addTrack(kit::bodyDataType, description);
        }
        source_.tieTo(publisher_);
        publisher_.start();
        if (!publisher_.awaitReceivers(receivers, longEnough)) {
            throw LinkError("nobody receives");
        }
    }

    void send(unsigned frames) {
        const auto began = std::chrono::steady_clock::now();
        for (unsigned sent = 0; sent < frames; ++sent, ++next_) {
            std::this_thread::sleep_until(began +
                                          std::chrono::nanoseconds(1'000'000'000LL * sent / rate_));
            for (int i = 0; i < performers_; ++i) {
                source_.send(std::make_shared<Frame>(Time(next_, rate_), kit::bodyDataType,
                                                     bodyOf(next_, i)),
                             i);
            }
        }
    }

    LinkPublisher& publisher() { return publisher_; }

private:
    int performers_;
    unsigned rate_;
    LinkPublisher publisher_;
    Source source_;
    unsigned next_ = 0;
};

void end(Bodies& bodies) {
    const bool isTaken = bodies.publisher().end(longEnough);
    std::cout << bodies.publisher().sentFrames() << ' ' << bodies.publisher().lostFrames() << ' '
              << isTaken << std::endl;
}

void sendInSteps(Bodies& bodies) {
    for (unsigned frames = 0; std::cin >> frames;) {
        bodies.send(frames);
        std::cout << allocated() << std::endl;
    }
}

void receive(const std::shared_ptr<Link>& link, Wanted wanted, std::chrono::microseconds pause) {
    LinkDeviceOptions options;
    options.wanted = wanted;
    std::atomic<std::int64_t> took{0};
    std::atomic<std::int64_t> wrong{0};
    LinkDevice device(link, "receiver", options);
    for (int port = 0; port < 16; ++port) {
        device.oFramePort(port).connect([&, port](const std::shared_ptr<Frame>& frame) {
            wrong += isBodyOf(*frame, port) ? 0 : 1;
            ++took;
            if (pause.count() > 0) {
                std::this_thread::sleep_for(pause);
            }
        });
    }
    device.open(stream);
    device.start();
    // A publisher waits for nobody who shows: its end may be over before such a one hears of it.
    const auto isGone = [&](const LinkStatus& now) {
        return wanted == Wanted::NewestFrame && took > 0 && now.state == Device::Lost;
    };
    LinkStatus status;
    do {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        std::cout << "took " << took << ' ' << wrong << ' ' << allocated() << std::endl;
        status = device.status();
    } while (!status.hasEnded && !isGone(status));
    device.stop();
    status = device.status();
    LinkTrackStatus sum;
    for (const LinkTrackStatus& track : status.tracks) {
        sum.late += track.late;
        sum.outOfOrder += track.outOfOrder;
        sum.skipped += track.skipped;
        sum.first += track.first;
    }
    std::cout << "end " << status.receivedFrames() << ' ' << status.lostFrames() << ' ' << sum.late
              << ' ' << sum.outOfOrder << ' ' << sum.skipped << ' ' << status.refused << ' '
              << sum.first << ' ' << status.reconnects << ' ' << wrong << ' ' << status.hasEnded
              << std::endl;
}

using Steady = std::chrono::steady_clock;

std::int64_t microseconds(Steady::duration duration) {
    return std::chrono::duration_cast<std::chrono::microseconds>(duration).count();
}

/// What comes out of the last port, on the device's thread.
struct Measured {
    std::int64_t captured = 0;
    Steady::time_point last;
    Steady::time_point first;
    Steady::duration longestGap{};
    std::vector<std::int64_t> latencies; ///< us

    void came() {
        const auto now = Steady::now();
        if (latencies.empty()) {
            first = now;
        } else {
            longestGap = std::max(longestGap, now - last);
        }
        last = now;
        latencies.push_back((now.time_since_epoch().count() - captured) / 1000);
    }
};

void measure(const std::shared_ptr<Link>& link, Wanted wanted, int performers,
             Steady::time_point began) {
    LinkDeviceOptions options;
    options.wanted = wanted;
    Measured measured;
    measured.latencies.reserve(1'000'000);
    LinkDevice device(link, "receiver", options);
    device.onSample().connect(
        [&](const LinkSample& sample) { measured.captured = sample.captured; });
    device.oFramePort(performers - 1).connect([&](const std::shared_ptr<Frame>& /*frame*/) {
        measured.came();
    });
    device.open(stream);
    device.start();
    device.awaitConnected(longEnough);
    LinkStatus status = device.status();
    for (; !status.hasEnded; status = device.status()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(250));
        if (wanted == Wanted::NewestFrame && status.state == Device::Lost) {
            break;
        }
    }
    device.stop();
    std::vector<std::int64_t>& all = measured.latencies;
    if (all.empty()) {
        throw LinkError("nothing came");
    }
    std::sort(all.begin(), all.end());
    std::cout << all.size() << ' ' << status.lostFrames() << ' ' << all[all.size() / 2] << ' '
              << all[all.size() * 99 / 100] << ' ' << all.back() << ' '
              << microseconds(measured.first - began) / 1000 << ' '
              << microseconds(measured.longestGap) / 1000 << std::endl;
}

} // namespace

int main(int argc, char** argv) {
    const bool isPublisher = argc > 1 && (argv[1][0] == 'p' || argv[1][0] == 's');
    const auto began = Steady::now();
    if (argc < 6 || (isPublisher && argc < 7)) {
        return 2;
    }
    try {
        LinkOptions options;
        options.domain = static_cast<std::uint32_t>(std::strtoul(argv[2], nullptr, 10));
        options.peers = {argv[3]};
        const auto link = std::make_shared<Link>(options);
        const auto number = [&](int at) { return std::strtol(argv[at], nullptr, 10); };
        if (isPublisher) {
            Bodies bodies(link, static_cast<int>(number(4)), static_cast<unsigned>(number(5)),
                          static_cast<int>(number(6)));
            if (argc > 7) {
                bodies.send(static_cast<unsigned>(number(7)));
            } else {
                sendInSteps(bodies);
            }
            end(bodies);
            return 0;
        }
        const auto wanted =
            std::string(argv[4]) == "every" ? Wanted::EveryFrame : Wanted::NewestFrame;
        if (std::string(argv[1]) == "measure") {
            measure(link, wanted, static_cast<int>(number(5)), began);
        } else {
            receive(link, wanted, std::chrono::microseconds(number(5)));
        }
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
    return 0;
}

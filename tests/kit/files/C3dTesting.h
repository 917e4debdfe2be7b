// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/files/C3d.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

/// What the tests of the C3D reader and writer feed them: files put together by hand, byte by byte.
namespace c3d_testing {

using tarn::kit::C3dEncoding;
using tarn::kit::C3dFinding;
using tarn::kit::C3dInfo;
using tarn::kit::C3dMode;
using tarn::kit::C3dOptions;
using tarn::kit::C3dTake;
using tarn::kit::Marker;
using tarn::kit::MarkerFrame;
using tarn::kit::ReadError;

inline constexpr std::array allEncodings = {C3dEncoding::IntelReal, C3dEncoding::IntelInteger,
                                            C3dEncoding::DecReal,   C3dEncoding::DecInteger,
                                            C3dEncoding::MipsReal,  C3dEncoding::MipsInteger};

inline bool isMips(C3dEncoding encoding) {
    return encoding == C3dEncoding::MipsReal || encoding == C3dEncoding::MipsInteger;
}
inline bool isDec(C3dEncoding encoding) {
    return encoding == C3dEncoding::DecReal || encoding == C3dEncoding::DecInteger;
}
inline bool isReal(C3dEncoding encoding) {
    return encoding == C3dEncoding::IntelReal || encoding == C3dEncoding::DecReal ||
           encoding == C3dEncoding::MipsReal;
}

/// Two bytes of a number, as the processors order them.
inline std::string word(C3dEncoding encoding, int value) {
    const auto low = static_cast<char>(value & 0xFF);
    const auto high = static_cast<char>(value >> 8 & 0xFF);
    return isMips(encoding) ? std::string{high, low} : std::string{low, high};
}

/// Four bytes of a number. The DEC format is that of IEEE for a number four times as large, its two
/// halves exchanged.
inline std::string real(C3dEncoding encoding, float value) {
    const float stored = isDec(encoding) ? value * 4 : value;
    std::uint32_t bits = 0;
    std::memcpy(&bits, &stored, sizeof bits);
    const auto low = static_cast<int>(bits & 0xFFFFU);
    const auto high = static_cast<int>(bits >> 16U);
    const bool lowFirst = !isMips(encoding) && !isDec(encoding);
    return lowFirst ? word(encoding, low) + word(encoding, high)
                    : word(encoding, high) + word(encoding, low);
}

/// A file in the making. Members are what the file says of itself, and may lie; what the data are
/// is said by the counts.
class FileBuilder {
public:
    struct Record {
        int group;
        std::string name;
        std::string content; ///< type, shape, elements, description; of a group its description
        bool isGroup = false;
        bool locked = false;
        std::optional<int> distance = std::nullopt; ///< that of the format unless given
    };

    explicit FileBuilder(C3dEncoding encoding = C3dEncoding::IntelReal) : encoding_(encoding) {
        scale = isReal(encoding) ? -0.25F : 0.25F;
    }

    /// The parameters that every file has; call it once the counts are set.
    FileBuilder& standard() {
        group(1, "POINT");
        integer(1, "USED", points);
        integer(1, "FRAMES", frames);
        integer(1, "DATA_START", dataBlock);
        number(1, "SCALE", scale);
        number(1, "RATE", rate);
        text(1, "UNITS", "mm");
        std::vector<std::string> labels;
        labels.reserve(static_cast<std::size_t>(points));
        for (int i = 0; i < points; ++i) {
            labels.push_back("M" + std::to_string(i + 1));
        }
        texts(1, "LABELS", labels);
        if (channels > 0) {
            group(2, "ANALOG");
            integer(2, "USED", channels);
            number(2, "RATE", rate * static_cast<float>(samples));
            number(2, "GEN_SCALE", 0.5F);
            numbers(2, "SCALE", std::vector<float>(static_cast<std::size_t>(channels), 2));
            integers(2, "OFFSET", std::vector<int>(static_cast<std::size_t>(channels), 10));
            labels.clear();
            for (int i = 0; i < channels; ++i) {
                labels.push_back("A" + std::to_string(i + 1));
            }
            texts(2, "LABELS", labels);
            texts(2, "UNITS", std::vector<std::string>(labels.size(), "V"));
        }
        return *this;
    }

    FileBuilder& group(int id, const std::string& name, const std::string& description = "") {
        records.push_back({-id, name, describe(description), true});
        return *this;
    }
    FileBuilder& integer(int group, const std::string& name, int value) {
        return add(group, name, 2, {}, word(encoding_, value));
    }
    FileBuilder& integers(int group, const std::string& name, const std::vector<int>& values) {
        std::string bytes;
        for (const int value : values) {
            bytes += word(encoding_, value);
        }
        return add(group, name, 2, {static_cast<int>(values.size())}, bytes);
    }
    FileBuilder& number(int group, const std::string& name, float value) {
        return add(group, name, 4, {}, real(encoding_, value));
    }
    FileBuilder& numbers(int group, const std::string& name, const std::vector<float>& values,
                         std::vector<int> shape = {}) {
        std::string bytes;
        for (const float value : values) {
            bytes += real(encoding_, value);
        }
        if (shape.empty()) {
            shape = {static_cast<int>(values.size())};
        }
        return add(group, name, 4, shape, bytes);
    }
    FileBuilder& text(int group, const std::string& name, const std::string& text) {
        return add(group, name, -1, {static_cast<int>(text.size())}, text);
    }
    FileBuilder& texts(int group, const std::string& name, const std::vector<std::string>& texts) {
        std::size_t length = 0;
        for (const std::string& text : texts) {
            length = std::max(length, text.size());
        }
        std::string bytes;
        for (const std::string& text : texts) {
            bytes += text + std::string(length - text.size(), ' ');
        }
        return add(group, name, -1, {static_cast<int>(length), static_cast<int>(texts.size())},
                   bytes);
    }
    FileBuilder& add(int group, const std::string& name, int type, const std::vector<int>& shape,
                     const std::string& elements, const std::string& description = "") {
        std::string content = {static_cast<char>(type), static_cast<char>(shape.size())};
        for (const int dimension : shape) {
            content += static_cast<char>(dimension);
        }
        records.push_back({group, name, content + elements + describe(description)});
        return *this;
    }
    /// Takes away what was added under a name.
    FileBuilder& without(const std::string& name) {
        records.erase(std::remove_if(records.begin(), records.end(),
                                     [&name](const Record& one) { return one.name == name; }),
                      records.end());
        return *this;
    }

    /// What the data say: a position in steps of 0.25, or nothing.
    static bool isSeen(int marker, int frame) { return (marker + 2 * frame) % 5 != 4; }
    static float coordinate(int marker, int frame, int axis) {
        return static_cast<float>(marker * 100 + frame * 3 - axis * 50) + 0.25F;
    }
    static constexpr int cameras = 0x15;
    static constexpr int residualSteps = 6;
    /// A stored analog number.
    static int stored(int channel, int sample) { return channel * 1000 - sample * 7; }

    /// The data section.
    std::string data() const {
        std::string bytes;
        for (int frame = 0; frame < frames; ++frame) {
            for (int marker = 0; marker < points; ++marker) {
                bytes += point(marker, frame);
            }
            for (int sample = 0; sample < samples; ++sample) {
                for (int channel = 0; channel < channels; ++channel) {
                    bytes += value(stored(channel, frame * samples + sample));
                }
            }
        }
        return bytes;
    }

    /// The section of parameters, with its own header, padded to whole blocks.
    std::string section() const {
        std::string bytes = {1, 0x50, 0, static_cast<char>(84 + static_cast<int>(encoding_) / 2)};
        for (std::size_t i = 0; i < records.size(); ++i) {
            const Record& one = records[i];
            const auto length = static_cast<int>(one.name.size());
            bytes += static_cast<char>(one.locked ? -length : length);
            bytes += static_cast<char>(one.group);
            bytes += one.name;
            const int distance = i + 1 == records.size() && endsWithZero
                                     ? 0
                                     : static_cast<int>(one.content.size()) + 2;
            bytes += word(encoding_, one.distance.value_or(distance));
            bytes += one.content;
        }
        bytes += behindParameters;
        pad(bytes);
        bytes[2] = static_cast<char>(blocks.value_or(static_cast<int>(bytes.size() / 512)));
        return bytes;
    }

    std::string header() const {
        std::string bytes(512, '\0');
        bytes[0] = static_cast<char>(parameterBlock);
        bytes[1] = 0x50;
        const auto put = [&](int number, const std::string& value) {
            bytes.replace(static_cast<std::size_t>(number - 1) * 2, value.size(), value);
        };
        put(2, word(encoding_, points));
        put(3, word(encoding_, channels * samples));
        put(4, word(encoding_, firstFrame));
        put(5, word(encoding_, firstFrame + frames - 1));
        put(7, real(encoding_, scale));
        put(9, word(encoding_, dataBlock));
        put(10, word(encoding_, samples));
        put(11, real(encoding_, rate));
        for (const auto& [number, value] : headerWords) {
            put(number, value);
        }
        return bytes;
    }

    /// The whole file.
    std::string bytes() const {
        std::string file = header();
        const auto at = [&file](int block) {
            file.resize(static_cast<std::size_t>(block - 1) * 512, '\0');
        };
        if (parameterBlock > 0) {
            at(parameterBlock);
            file += section();
        }
        at(dataBlock);
        file += data();
        if (padded) {
            pad(file);
        }
        return file;
    }

    FileBuilder& header(int number, int value) {
        headerWords[number] = word(encoding_, value);
        return *this;
    }
    FileBuilder& headerReal(int number, float value) {
        headerWords[number] = real(encoding_, value);
        return *this;
    }
    Record& record(const std::string& name) {
        for (Record& one : records) {
            if (one.name == name) {
                return one;
            }
        }
        throw std::invalid_argument(name);
    }

    int points = 3;
    int frames = 4;
    int firstFrame = 1;
    int channels = 0;
    int samples = 0;
    float rate = 100;
    float scale = 0;
    int parameterBlock = 2;
    int dataBlock = 4;
    bool endsWithZero = false;
    bool padded = true;
    std::optional<int> blocks;
    std::string behindParameters;
    std::vector<Record> records;
    std::map<int, std::string> headerWords;

    std::string value(int number) const {
        return isReal(encoding_) ? real(encoding_, static_cast<float>(number))
                                 : word(encoding_, number);
    }

private:
    static std::string describe(const std::string& description) {
        return static_cast<char>(description.size()) + description;
    }
    static void pad(std::string& bytes) { bytes.resize((bytes.size() + 511) / 512 * 512, '\0'); }

    std::string point(int marker, int frame) const {
        if (!isSeen(marker, frame)) {
            return value(0) + value(0) + value(0) + value(-1);
        }
        std::string bytes;
        for (int axis = 0; axis < 3; ++axis) {
            const float place = coordinate(marker, frame, axis);
            bytes += isReal(encoding_) ? real(encoding_, place)
                                       : word(encoding_, static_cast<int>(place * 4));
        }
        return bytes + value(cameras * 256 + residualSteps);
    }

    C3dEncoding encoding_;
};

inline C3dTake readBytes(const std::string& bytes, const C3dOptions& options = {}) {
    std::istringstream stream(bytes);
    return tarn::kit::readC3d(stream, options, "bytes");
}

inline C3dTake readStrictly(const std::string& bytes) {
    C3dOptions options;
    options.mode = C3dMode::Strict;
    return readBytes(bytes, options);
}

/// What bytes are refused for; nothing when they are accepted.
inline std::optional<ReadError> errorOf(const std::string& bytes, C3dMode mode = C3dMode::Lenient) {
    try {
        C3dOptions options;
        options.mode = mode;
        readBytes(bytes, options);
    } catch (const ReadError& error) {
        return error;
    }
    return std::nullopt;
}

inline MarkerFrame markersAt(const C3dTake& take, int frame) {
    return take.tracks->getFrame(frame, tarn::kit::markerDataType)->dataAs<MarkerFrame>();
}

inline tarn::kit::AnalogFrame samplesAt(const C3dTake& take, int sample) {
    return take.analogTracks->getFrame(sample, tarn::kit::analogDataType)
        ->dataAs<tarn::kit::AnalogFrame>();
}

/// What is reported about a place; nothing if nothing is.
inline std::optional<C3dFinding> findingOn(const C3dInfo& info, const std::string& place) {
    for (const C3dFinding& finding : info.report) {
        if (finding.place == place) {
            return finding;
        }
    }
    return std::nullopt;
}

} // namespace c3d_testing

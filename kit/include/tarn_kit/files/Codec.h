// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/Export.h>

#include <any>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeindex>
#include <utility>
#include <vector>

namespace tarn::kit {

// How payloads become bytes, for files that keep them and connections that carry them. Numbers are
// little-endian, as they are in the memory of the machines that are supported, and keep every bit:
// what is not a number stays the one that it was.

/// Why a payload could not be turned into bytes, or bytes into a payload; `what()` is one line.
class TARN_KIT_EXPORT CodecError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
    CodecError(const CodecError&) = default;
    CodecError& operator=(const CodecError&) = default;
    ~CodecError() override;
};

/// Which codec wrote some bytes.
struct CodecId {
    std::string name; ///< "tarn.pose"
    std::uint32_t version = 1;
};

inline bool operator==(const CodecId& a, const CodecId& b) noexcept {
    return a.version == b.version && a.name == b.name;
}
inline bool operator!=(const CodecId& a, const CodecId& b) noexcept { return !(a == b); }

/// The payload of a frame whose codec is not known here, or is known in older versions only: its
/// bytes as they are. Written again it is what it was, under the codec that wrote it.
struct TARN_KIT_EXPORT EncodedPayload {
    CodecId codec;
    std::vector<std::byte> bytes;
};

/// Whether values of a type are written as they are in memory: numbers, and no `bool`.
template <class T>
inline constexpr bool isPlainNumber = std::is_arithmetic_v<T> && !std::is_same_v<T, bool>;

/// Appends what a payload consists of to a list of bytes.
class TARN_KIT_EXPORT PayloadWriter {
public:
    /// `bytes` outlives the writer.
    explicit PayloadWriter(std::vector<std::byte>& bytes) noexcept : bytes_(&bytes) {}

    /// A number in as many bytes as it has.
    template <class T>
    void put(T value) {
        static_assert(isPlainNumber<T>, "numbers only: give enums and flags a width");
        append(&value, sizeof value);
    }
    /// `count` numbers, one after the other, without their count.
    template <class T>
    void putAll(const T* values, std::size_t count) {
        static_assert(isPlainNumber<T>, "numbers only");
        append(values, count * sizeof(T));
    }
    /// A text of any bytes with its length. Throws `CodecError` for one of 4 GiB or more.
    void putText(std::string_view text);
    void append(const void* data, std::size_t size);

private:
    std::vector<std::byte>* bytes_;
};

/// Takes apart what a `PayloadWriter` has put together. The bytes may come from anywhere: what
/// would reach beyond them throws `CodecError`, before memory is taken for it.
class TARN_KIT_EXPORT PayloadReader {
public:
    /// `data` outlives the reader.
    PayloadReader(const std::byte* data, std::size_t size) noexcept : data_(data), left_(size) {}

    /// How many bytes are left.
    std::size_t left() const noexcept { return left_; }
    template <class T>
    T get() {
        static_assert(isPlainNumber<T>, "numbers only");
        T value{};
        copy(&value, 1, sizeof value);
        return value;
    }
    /// `count` numbers.
    template <class T>
    std::vector<T> getAll(std::size_t count) {
        static_assert(isPlainNumber<T>, "numbers only");
        expect(count, sizeof(T));
        std::vector<T> values(count);
        copy(values.data(), count, sizeof(T));
        return values;
    }
    std::string getText();
    /// How many elements of a size there are in what is left. Throws `CodecError` unless that is a
    /// whole number.
    std::size_t countOf(std::size_t elementSize) const;
    /// Throws `CodecError` unless that many elements of that size are left.
    void expect(std::size_t count, std::size_t elementSize) const;
    /// Copies that many elements out.
    void copy(void* target, std::size_t count, std::size_t elementSize);

private:
    const std::byte* data_;
    std::size_t left_;
};

/// The codecs that a file or a connection works with. A codec turns payloads of one type into bytes
/// and back; it has a name that no other has, and a version that counts up when what it writes
/// changes. The kit's own payloads have theirs (see below), and a host adds its own:
///
///     auto codecs = std::make_shared<Codecs>();
///     codecs->add<Glove>(
///         "studio.glove", 1,
///         [](const Glove& glove, PayloadWriter& to) { to.put(glove.bend); },
///         [](PayloadReader& from, std::uint32_t) { return Glove{from.get<float>()}; });
///
/// Without one, a host's bytes (`std::vector<std::byte>`) and texts (`std::string`) do.
///
/// | name               | payload                    | bytes                                      |
/// |--------------------|----------------------------|--------------------------------------------|
/// | "tarn.none"        | none                       | none                                       |
/// | "tarn.bytes"       | `std::vector<std::byte>`   | as they are                                |
/// | "tarn.text"        | `std::string`              | as they are                                |
/// | "tarn.pose"        | `Pose`                     | float32 per channel                        |
/// | "tarn.body"        | `BodyPose`                 | 7 float32 per segment: position, rotation  |
/// | "tarn.markers"     | `MarkerFrame`              | per marker 3 float32 (position), float32   |
/// |                    |                            | (residual), uint8 (cameras), uint8 (state) |
/// | "tarn.analog"      | `AnalogFrame`              | float32 per channel                        |
/// | "tarn.rigidbodies" | `RigidBodyFrame`           | per body 3 float32 (position), 4 float32   |
/// |                    |                            | (rotation), float32 (residual), uint8      |
/// |                    |                            | (state)                                    |
/// | "tarn.markerfit"   | `MarkerFit`                | uint8 (converged), int32 (iterations),     |
/// |                    |                            | float64 (seconds); per marker 3 float64    |
/// |                    |                            | (position), float64 (residual), uint8      |
/// |                    |                            | (verdict), uint64 (swapped with)           |
///
/// Threads: adding is for one thread with nobody else about; everything else may be called from any
/// number of threads, as far as the functions of added codecs may.
class TARN_KIT_EXPORT Codecs {
public:
    /// Those of the kit.
    Codecs();
    ~Codecs();
    Codecs(const Codecs&) = delete;
    Codecs& operator=(const Codecs&) = delete;

    /// Those of the kit, for who adds none.
    static std::shared_ptr<const Codecs> standard();

    /// Adds a codec for payloads that are a `T`. `decoder` is given the version that wrote the
    /// bytes, which is at most `version`, and has to read all of them; where they are not what it
    /// expects it throws `CodecError`. Throws `std::invalid_argument` if there is a codec of the
    /// name or for the type already, and for a name that is not made of 1 to 100 printable
    /// characters of ASCII.
    template <class T, class Encode, class Decode>
    void add(const std::string& name, std::uint32_t version, Encode encoder, Decode decoder) {
        addEntry(
            {name, version}, typeid(T),
            [encoder = std::move(encoder)](const std::any& payload, PayloadWriter& to) {
                encoder(std::any_cast<const T&>(payload), to);
            },
            [decoder = std::move(decoder)](PayloadReader& from, std::uint32_t writtenBy) {
                return std::any(T(decoder(from, writtenBy)));
            });
    }

    /// Whether there is a codec for what this holds.
    bool canEncode(const std::any& payload) const;
    /// Whether bytes of this codec can be decoded: it is known in this version or a later one.
    bool canDecode(const CodecId& codec) const;

    /// Appends a payload to `bytes` and returns by which codec, which is valid as long as payload
    /// and codecs. Throws `CodecError`, and leaves `bytes` as it was, if there is none for it, and
    /// passes on what the codec throws.
    const CodecId& encode(const std::any& payload, std::vector<std::byte>& bytes) const;
    /// The payload that `bytes` are; an `EncodedPayload` if the codec cannot be decoded here.
    /// Throws `CodecError` if the bytes are not what the codec writes, whatever the codec throws.
    std::any decode(const CodecId& codec, const std::byte* bytes, std::size_t size) const;

private:
    using AnyEncoder = std::function<void(const std::any&, PayloadWriter&)>;
    using AnyDecoder = std::function<std::any(PayloadReader&, std::uint32_t)>;
    void addEntry(const CodecId& id, std::type_index type, AnyEncoder encoder, AnyDecoder decoder);

    struct PrivateData;
    std::unique_ptr<PrivateData> d_;
};

} // namespace tarn::kit

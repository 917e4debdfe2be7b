// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/files/Codec.h>

#include "files/codec/KitCodecs.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <limits>
#include <map>
#include <unordered_map>

namespace tarn::kit {

CodecError::~CodecError() = default;

void PayloadWriter::append(const void* data, std::size_t size) {
    const auto* const first = static_cast<const std::byte*>(data);
    bytes_->insert(bytes_->end(), first, first + size);
}

void PayloadWriter::putText(std::string_view text) {
    if (text.size() > std::numeric_limits<std::uint32_t>::max()) {
        throw CodecError("a text of more than 4 GiB");
    }
    put(static_cast<std::uint32_t>(text.size()));
    append(text.data(), text.size());
}

void PayloadReader::expect(std::size_t count, std::size_t elementSize) const {
    if (elementSize != 0 && count > left_ / elementSize) {
        throw CodecError("expected " + std::to_string(count) + " x " + std::to_string(elementSize) +
                         " bytes, found " + std::to_string(left_));
    }
}

void PayloadReader::copy(void* target, std::size_t count, std::size_t elementSize) {
    expect(count, elementSize);
    const std::size_t size = count * elementSize;
    if (size > 0) {
        std::memcpy(target, data_, size);
        data_ += size;
        left_ -= size;
    }
}

std::string PayloadReader::getText() {
    const auto size = get<std::uint32_t>();
    expect(size, 1);
    std::string text(size, '\0');
    copy(text.data(), size, 1);
    return text;
}

std::size_t PayloadReader::countOf(std::size_t elementSize) const {
    if (left_ % elementSize != 0) {
        throw CodecError(std::to_string(left_) + " bytes are no whole number of elements of " +
                         std::to_string(elementSize));
    }
    return left_ / elementSize;
}

struct Codecs::PrivateData {
    struct Entry {
        CodecId id;
        AnyEncoder encoder;
        AnyDecoder decoder;
    };
    /// By which a payload is encoded; null if by none.
    const Entry* entryFor(const std::any& payload) const {
        const auto found = byType.find(payload.type());
        return found == byType.end() ? nullptr : found->second;
    }
    /// By which bytes of a codec are decoded; null if by none.
    const Entry* entryFor(const CodecId& codec) const {
        const auto found = byName.find(codec.name);
        return found == byName.end() || found->second.id.version < codec.version ? nullptr
                                                                                 : &found->second;
    }

    std::map<std::string, Entry> byName;
    std::unordered_map<std::type_index, const Entry*> byType;
};

Codecs::Codecs() : d_(std::make_unique<PrivateData>()) {
    addEntry(
        {"tarn.none", 1}, typeid(void), [](const std::any&, PayloadWriter&) {},
        [](PayloadReader&, std::uint32_t) { return std::any(); });
    addKitCodecs(*this);
}

Codecs::~Codecs() = default;

std::shared_ptr<const Codecs> Codecs::standard() {
    static const auto codecs = std::make_shared<const Codecs>();
    return codecs;
}

void Codecs::addEntry(const CodecId& id, std::type_index type, AnyEncoder encoder,
                      AnyDecoder decoder) {
    constexpr std::size_t longest = 100;
    const auto isPlain = [](char c) { return c > ' ' && c <= '~'; };
    if (id.name.empty() || id.name.size() > longest ||
        !std::all_of(id.name.begin(), id.name.end(), isPlain)) {
        throw std::invalid_argument("a codec's name is made of 1 to 100 printable characters");
    }
    if (d_->byName.count(id.name) > 0) {
        throw std::invalid_argument("there is a codec of the name " + id.name);
    }
    if (d_->byType.count(type) > 0 || type == typeid(EncodedPayload)) {
        throw std::invalid_argument(id.name + ": there is a codec for this type of payload");
    }
    const auto added =
        d_->byName.emplace(id.name, PrivateData::Entry{id, std::move(encoder), std::move(decoder)});
    d_->byType.emplace(type, &added.first->second);
}

bool Codecs::canEncode(const std::any& payload) const {
    return d_->entryFor(payload) != nullptr || payload.type() == typeid(EncodedPayload);
}

bool Codecs::canDecode(const CodecId& codec) const { return d_->entryFor(codec) != nullptr; }

const CodecId& Codecs::encode(const std::any& payload, std::vector<std::byte>& bytes) const {
    if (const auto* const encoded = std::any_cast<EncodedPayload>(&payload)) {
        bytes.insert(bytes.end(), encoded->bytes.begin(), encoded->bytes.end());
        return encoded->codec;
    }
    const auto* const entry = d_->entryFor(payload);
    if (entry == nullptr) {
        throw CodecError(std::string("there is no codec for payloads of the type ") +
                         payload.type().name());
    }
    const std::size_t before = bytes.size();
    try {
        PayloadWriter writer(bytes);
        entry->encoder(payload, writer);
    } catch (...) {
        bytes.resize(before);
        throw;
    }
    return entry->id;
}

std::any Codecs::decode(const CodecId& codec, const std::byte* bytes, std::size_t size) const {
    const auto* const entry = d_->entryFor(codec);
    if (entry == nullptr) {
        return EncodedPayload{codec, std::vector<std::byte>(bytes, bytes + size)};
    }
    try {
        PayloadReader reader(bytes, size);
        std::any payload = entry->decoder(reader, codec.version);
        if (reader.left() > 0) {
            throw CodecError(std::to_string(reader.left()) + " bytes too many");
        }
        return payload;
    } catch (const std::exception& error) {
        throw CodecError(codec.name + ": " + error.what());
    }
}

} // namespace tarn::kit

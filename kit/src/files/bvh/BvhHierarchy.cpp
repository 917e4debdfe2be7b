// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "files/bvh/BvhHierarchy.h"

#include "files/bvh/BvhFormat.h"

#include <tarn_kit/files/Bvh.h>

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarn::kit {

namespace {

std::optional<Channel> channelNamed(std::string_view name) {
    for (std::size_t i = 0; i < channelNames.size(); ++i) {
        if (sameWord(channelNames[i], name)) {
            return static_cast<Channel>(i);
        }
    }
    return std::nullopt;
}

/// A node whose closing brace has not been read yet.
struct OpenNode {
    bool isEndSite = false;
    int parent = -1;
    int index = -1; ///< in the rig; -1 until its first child or its closing brace puts it there
    std::string_view name;
    std::optional<Vector3f> offset;
    std::optional<std::vector<Channel>> channels;
};

/// Keeps the open nodes in a list instead of calling itself, so that no file is too deep for it.
class HierarchyReader {
public:
    explicit HierarchyReader(TextScanner& scanner) : scanner_(scanner) {}
    std::shared_ptr<Rig> read();

private:
    void readRoot(const char* expected);
    void readEntry();
    void openJoint(const char* place);
    void openEndSite(const char* place);
    OpenNode& open(const char* place);
    void close(const char* place);
    void addToRig(OpenNode& node, const char* place);
    void readOffset(const char* place);
    void readChannels(const char* place);
    std::vector<Channel> takeChannels(int count);
    std::optional<Channel> peekChannel();

    TextScanner& scanner_;
    std::shared_ptr<Rig> rig_ = std::make_shared<Rig>();
    std::vector<OpenNode> open_;
    std::size_t nodeCount_ = 0;
};

std::shared_ptr<Rig> HierarchyReader::read() {
    if (!scanner_.acceptWord("HIERARCHY")) {
        scanner_.failExpected(scanner_.place(), "HIERARCHY");
    }
    readRoot("ROOT");
    while (!scanner_.acceptWord("MOTION")) {
        readRoot("ROOT or MOTION");
    }
    return rig_;
}

void HierarchyReader::readRoot(const char* expected) {
    scanner_.skipSpace();
    const char* const place = scanner_.place();
    if (!scanner_.acceptWord("ROOT")) {
        scanner_.failExpected(place, expected);
    }
    openJoint(place);
    while (!open_.empty()) {
        readEntry();
    }
}

/// Reads what comes next in the innermost open node.
void HierarchyReader::readEntry() {
    scanner_.skipSpace();
    const char* const place = scanner_.place();
    const bool inJoint = !open_.back().isEndSite;
    if (scanner_.acceptWord("OFFSET")) {
        readOffset(place);
    } else if (inJoint && scanner_.acceptWord("CHANNELS")) {
        readChannels(place);
    } else if (inJoint && scanner_.acceptWord("JOINT")) {
        openJoint(place);
    } else if (inJoint && scanner_.acceptWord("END")) {
        openEndSite(place);
    } else if (scanner_.accept('}')) {
        close(place);
    } else {
        scanner_.failExpected(place,
                              inJoint ? "OFFSET, CHANNELS, JOINT, End Site or }" : "OFFSET or }");
    }
}

void HierarchyReader::openJoint(const char* place) {
    OpenNode& node = open(place);
    scanner_.skipBlanks();
    const char* const namePlace = scanner_.place();
    node.name = scanner_.takeLine();
    if (node.name.empty()) {
        scanner_.failExpected(namePlace, "the name of the joint");
    }
    if (node.name.size() > bvhMaxNameLength) {
        scanner_.failExpected(namePlace,
                              "a name of at most " + std::to_string(bvhMaxNameLength) + " bytes");
    }
    scanner_.expect('{');
}

void HierarchyReader::openEndSite(const char* place) {
    open(place).isEndSite = true;
    scanner_.takeLine(); // "Site", or whatever the author calls it: end sites are named by the rig
    scanner_.expect('{');
}

OpenNode& HierarchyReader::open(const char* place) {
    if (++nodeCount_ > bvhMaxNodes) {
        scanner_.fail(place, "expected at most " + std::to_string(bvhMaxNodes) +
                                 " joints and end sites, found one more");
    }
    OpenNode node;
    if (!open_.empty()) {
        addToRig(open_.back(), place);
        node.parent = open_.back().index;
    }
    open_.push_back(node);
    return open_.back();
}

void HierarchyReader::close(const char* place) {
    addToRig(open_.back(), place);
    open_.pop_back();
}

/// Adds a node, unless that is done, now that all has been read that belongs to it alone.
void HierarchyReader::addToRig(OpenNode& node, const char* place) {
    if (node.index >= 0) {
        return;
    }
    if (!node.offset) {
        scanner_.failExpected(place, node.isEndSite ? "the OFFSET of the end site"
                                                    : "the OFFSET of the joint");
    }
    node.index = node.isEndSite ? rig_->addEndSite(node.parent, *node.offset)
                                : rig_->addJoint(std::string(node.name), node.parent, *node.offset,
                                                 node.channels.value_or(std::vector<Channel>()));
}

void HierarchyReader::readOffset(const char* place) {
    OpenNode& node = open_.back();
    if (node.offset) {
        scanner_.fail(place, "expected one OFFSET, found a second");
    }
    std::array<float, 3> values = {};
    for (float& value : values) {
        scanner_.skipSpace();
        value = scanner_.takeReal<float>();
    }
    node.offset = Vector3f{values[0], values[1], values[2]};
}

void HierarchyReader::readChannels(const char* place) {
    OpenNode& node = open_.back();
    if (node.channels) {
        scanner_.fail(place, "expected one CHANNELS, found a second");
    }
    if (node.index >= 0) {
        scanner_.fail(place, "expected CHANNELS before the first child, found it after");
    }
    node.channels = takeChannels(scanner_.takeCount("a number of channels"));
}

std::vector<Channel> HierarchyReader::takeChannels(int count) {
    std::vector<Channel> channels; // grows with the names that are there, whatever is claimed
    for (int i = 0; i < count; ++i) {
        const auto channel = peekChannel();
        if (!channel) {
            scanner_.failExpected(scanner_.place(), "channel name " + std::to_string(i + 1) +
                                                        " of " + std::to_string(count) +
                                                        " (such as Xrotation)");
        }
        channels.push_back(*channel);
        scanner_.takeWord();
    }
    if (peekChannel()) {
        scanner_.failExpected(scanner_.place(), "only " + std::to_string(count) + " channel names");
    }
    return channels;
}

std::optional<Channel> HierarchyReader::peekChannel() {
    scanner_.skipSpace();
    return channelNamed(scanner_.peekWord());
}

} // namespace

std::shared_ptr<Rig> readHierarchy(TextScanner& scanner) { return HierarchyReader(scanner).read(); }

} // namespace tarn::kit

// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/BoneID.h>
#include <tarn/Settings.h>
#include <tarn_kit/Export.h>
#include <tarn_kit/body/Rig.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tarn::kit {

/// What a joint of a rig is, as far as its name tells.
struct JointMatch {
    int node = -1; ///< index of the joint in `Rig::nodes()`
    /// The body segment that begins at the joint; nothing if it is none or that is not certain.
    std::optional<EBoneID> segment;
    /// What the joint may be, where that is not certain; otherwise empty. It is a single one where
    /// several joints may be the same segment.
    std::vector<EBoneID> candidates;
    /// Why there is no segment, in a few words; empty if there is one.
    std::string reason;

    bool isAmbiguous() const noexcept { return !candidates.empty(); }
};

/// Which joints of a rig are which segments of the body. Each root has a body of its own: within
/// it, no two joints are the same segment.
///
/// Threads: reading, by many at once.
class TARN_KIT_EXPORT BodyMatch {
public:
    /// No joints.
    BodyMatch() = default;
    /// Precondition: the nodes are greater than -1, and in order.
    explicit BodyMatch(std::vector<JointMatch> joints);

    /// All joints of the rig, in its order; end sites are left out.
    const std::vector<JointMatch>& joints() const& noexcept { return joints_; }
    std::vector<JointMatch> joints() && { return std::move(joints_); }
    /// The segment that begins at a node; nothing for a joint that is none, for an end site, and
    /// for an index that is none.
    std::optional<EBoneID> segmentOf(int node) const;
    /// The node at which a segment begins; of several bodies, that of the first. Nothing if there
    /// is none.
    std::optional<int> nodeOf(EBoneID segment) const;
    /// How many joints have a segment.
    std::size_t matchedCount() const;
    /// How many joints may be several segments, or share one.
    std::size_t ambiguousCount() const;

private:
    std::vector<JointMatch> joints_;
};

/// Tells from the names of joints which segments of the body they are: "LeftUpLeg", "L_Thigh",
/// "thigh_l", "LeftHip" above "LeftKnee" and "lfemur" are all `BoneLeftUpLeg`.
///
/// It knows the segments' own names, the words that common programs have for them, left and right
/// as a word or a letter, in front, behind or in between, prefixes up to a ":" or "|", and prefixes
/// that most joints of a body share. Case and separators do not count.
///
/// Words that mean different things to different programs ("shoulder", "leg", "hand") are settled
/// by the joints around them: that is what a shoulder with an elbow below it is. Where that does
/// not settle it, the joint is ambiguous and has no segment. Joints of spine and neck are numbered
/// from below; one that bears a segment's own name is that segment.
///
/// What a studio calls its joints can be added, joint by joint or as words; that goes before what
/// is known here.
///
/// Threads: `match` may be called by many at once; adding is a change.
class TARN_KIT_EXPORT BodyNames {
public:
    /// What is built in.
    BodyNames();
    ~BodyNames();
    BodyNames(BodyNames&& other) noexcept;
    BodyNames& operator=(BodyNames&& other) noexcept;

    /// A joint of exactly this name is this segment; nothing: it is none.
    void addJoint(const std::string& name, std::optional<EBoneID> segment);
    /// A word for a segment, given by its name without "Left" and "Right" ("UpLeg", "Spine1"): from
    /// now on found with any prefix and, for segments that come in pairs, either side. Throws
    /// `std::invalid_argument` if there is no such segment, or the word has no letter or digit.
    void addWord(const std::string& word, const std::string& segment);

    /// Adds what a settings document says below `BodyNames`: the name of each element is that of a
    /// segment, its text the name of a joint; elements may be repeated. An element without "Left"
    /// or "Right" whose segment has a side gives a word for both sides, and "None" a joint that is
    /// no segment.
    ///
    ///     <BodyNames>
    ///         <LeftUpLeg>bone 17</LeftUpLeg>
    ///         <UpLeg>Oberschenkel</UpLeg>
    ///         <None>wand</None>
    ///     </BodyNames>
    ///
    /// Throws `std::invalid_argument`, which names the element, and adds nothing, for an element
    /// that is no segment, one without a text, and a document without `BodyNames`.
    void add(const Settings& document);

    BodyMatch match(const Rig& rig) const;

private:
    struct PrivateData;
    std::unique_ptr<PrivateData> d_;
};

/// What the distance of each node from its parent is called, in node order; empty for a root.
///
/// A length bears the name of the bone that it is the length of: the distance of the knee from the
/// hip is "LeftUpLeg", the thigh, whatever the joints are called. The bone of a joint leads to the
/// next joint of its limb or, at the end of one, to its only child. Other distances have the names
/// of both ends: "Hips-LeftUpLeg". A joint that `match` has no segment for goes by its own name;
/// what has no name at an end that counts gets none.
TARN_KIT_EXPORT std::vector<std::string> boneLengthNames(const Rig& rig, const BodyMatch& match);

} // namespace tarn::kit

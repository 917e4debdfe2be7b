// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Settings.h>
#include <tarn_kit/Export.h>
#include <tarn_kit/body/Rotations.h>

#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace tarn::kit {

/// Where a marker of a set sits, roughly: a calibration starts from here.
struct MarkerPlace {
    std::string name;
    std::string segment; ///< the SDK's bone name: "LeftUpLeg" is the left thigh
    /// How far along the segment, from 0 at its joint to 1 at its end.
    double along = 0;
    /// From there, in metres on a body of 1.75 m in T-pose: to its left, up, to the front.
    Vector3d offset;
    /// How much it counts, from 0 on; 1 is usual.
    double weight = 1;
    std::string description;

    /// Whether more is said than the segment.
    bool isPlaced() const { return along != 0 || lengthOf(offset) > 0; }
};

/// A document, or what should be one, is no marker set; `what()` is one line with file, marker and,
/// of a file that was loaded, line and column: "set.xml:5:9: LKNE: Left '12cm': expected ...".
class TARN_KIT_EXPORT MarkerSetError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
    MarkerSetError(const MarkerSetError&) = default;
    MarkerSetError& operator=(const MarkerSetError&) = default;
    ~MarkerSetError() override;
};

/// Which markers a performer wears, and where. As a document:
///
///     <MarkerSet>
///         <Name>legs</Name>
///         <Description>...</Description>
///         <Markers>
///             <LKNE>
///                 <Segment>LeftUpLeg</Segment>
///                 <Along>1</Along>
///                 <Left>0.058</Left>
///                 <Weight>1</Weight>
///                 <Description>Left knee, outside</Description>
///             </LKNE>
///         </Markers>
///     </MarkerSet>
///
/// Each marker is an element of its name, and stands there once. What is written in any other way
/// than here is refused. Only its `Segment` is needed: a marker of which no more is said is looked
/// for on all of it, which costs a calibration some of its certainty. `Along`
/// goes from 0 (the segment's joint) to 1 (its end); from there `Left` or `Right`, `Up` or `Down`,
/// `Front` or `Back` lead to the marker, each in metres on a body of 1.75 m that stands in T-pose
/// with palms down. A marker in the last quarter of a forearm turns with the hand, as the skin
/// there does.
struct TARN_KIT_EXPORT MarkerSet {
    std::string name;
    std::string description;
    std::vector<MarkerPlace> markers; ///< of a document, in the order of their names

    /// The index of a marker, or -1.
    int markerOf(const std::string& markerName) const;

    /// The sets that come with the kit: "cmu41" (41 markers of the whole body), "cmu53" (the same
    /// and twelve more) and "gait16" (hips and legs).
    static std::vector<std::string> shippedNames();
    /// A shipped set by its name, or else the document of that path. Throws `MarkerSetError`.
    static MarkerSet load(const std::string& nameOrPath);
    /// The set in `settings`; `source` stands for it in errors. Throws `MarkerSetError`.
    static MarkerSet of(const Settings& settings, const std::string& source);

    /// The set as a document: settings with one group "MarkerSet".
    std::shared_ptr<Settings> toSettings() const;
};

/// Where the marker that is called `name` stands among `names`: one of exactly that name, or else
/// the only one that differs from it in nothing but the case of letters, blanks, '_', '-' and '.',
/// "l fwt" for "LFWT": programs write labels in their own ways. -1 if there is none, or several.
TARN_KIT_EXPORT int markerNamed(std::string_view name, const std::vector<std::string>& names);

} // namespace tarn::kit

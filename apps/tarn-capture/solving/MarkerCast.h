// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "documents/ActorChoices.h"

#include <tarn_kit/body/MarkerSet.h>
#include <tarn_kit/body/Space.h>
#include <tarn_kit/files/C3d.h>
#include <tarn_kit/solving/MarkerBody.h>

#include <optional>
#include <string>
#include <vector>

namespace tarn::capture {

/// Somebody whose markers a take may have.
struct Candidate {
    std::string subject; ///< what stands before the colon of the labels; may be empty
    std::string name;    ///< of the performer
};

/// A performer of a take of markers, and what it is to be solved with.
struct CastMember {
    Candidate who;
    kit::MarkerBody body;              ///< the actor's, or nobody's in particular
    std::optional<kit::MarkerSet> set; ///< to calibrate with; none if the body is the actor's
};

/// Who performs in a take of markers.
struct MarkerCast {
    std::vector<CastMember> members;
    std::vector<std::string> passedOver; ///< who else has markers, and why that is no performer
};

/// What stands before the colons of a take's labels, each once, in the order of the file.
std::vector<std::string> subjectsIn(const kit::C3dInfo& take);

/// Which of the candidates wear a set of markers: that of their actor if it was calibrated, else
/// the one that is asked for (its name or document), else the shipped one that their labels tell.
/// Throws `std::runtime_error`, which says what fits how well and what to do, if nobody does, and
/// `UsageError` if one actor's body would be that of several performers. `file` stands for the take
/// in errors.
MarkerCast castOf(const kit::C3dInfo& take, const std::vector<Candidate>& candidates,
                  const std::optional<std::string>& set, const ActorChoices& actors,
                  const std::string& file);

/// The axis along which bodies with these markers stand most of the time, heads (or hips) above
/// feet; nothing where they do not tell.
std::optional<kit::UpAxis> upAxisBy(const kit::C3dTake& take, const std::string& subject,
                                    const kit::MarkerBody& body);

} // namespace tarn::capture

// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Tracks.h>
#include <tarn_kit/Export.h>
#include <tarn_kit/body/Analog.h>
#include <tarn_kit/body/Markers.h>
#include <tarn_kit/body/RigidBodies.h>
#include <tarn_kit/files/C3dParameters.h>
#include <tarn_kit/files/ReadError.h>

#include <cstdint>
#include <filesystem>
#include <istream>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace tarn::kit {

/// How numbers are stored: in the order of bytes and the floating-point format of one of three
/// processors, the data as 16-bit integers with a scale or as single-precision reals.
enum class C3dEncoding : std::uint8_t {
    IntelReal,
    IntelInteger,
    DecReal,
    DecInteger,
    MipsReal,
    MipsInteger,
};

/// "intel-real", "intel-int", "dec-real", "dec-int", "mips-real" or "mips-int".
TARN_KIT_EXPORT std::string to_string(C3dEncoding encoding);
/// The encoding of one of these names; nothing for another.
TARN_KIT_EXPORT std::optional<C3dEncoding> c3dEncodingOf(std::string_view name);

/// What to do about a file that contradicts itself.
enum class C3dMode : std::uint8_t {
    Lenient, ///< open what can be opened, and report the contradictions
    Strict,  ///< the first contradiction is a `ReadError`
    Explain, ///< as lenient, and report every decision, also those that nothing contradicts
};

struct C3dOptions {
    C3dMode mode = C3dMode::Lenient;
    /// Whether a marker exactly at the origin that no camera saw and that has no residual counts as
    /// not seen. The format's own mark of a gap is a negative fourth word, but some programs leave
    /// such positions instead. If this is not set, the data decides for the whole file: they are
    /// gaps if a marker leaps there from more than four times as far as it gets from a frame to the
    /// next, but for a tenth of its steps. Points that POINT:ANGLES, FORCES, MOMENTS, POWERS or
    /// SCALARS lists are always seen then: they may well be 0. The report says if there are such
    /// gaps. (Points at 9999999,9999999,9999999, which other programs write, are gaps in any case.)
    std::optional<bool> originIsNotSeen;
};

/// Something in a file that contradicts another part of it, or a decision that was taken.
struct C3dFinding {
    std::string place;        ///< "POINT:FRAMES", "header word 5"
    std::uint64_t offset = 0; ///< of the byte in the file where that is stated
    std::string found;        ///< what is stated there
    std::string believed;     ///< what was taken for true instead
    std::string reason;       ///< why
    /// Whether it is a contradiction, which the strict mode refuses, or only worth knowing.
    bool isContradiction = true;
};

/// "POINT:FRAMES (byte 1028): 840, believed 800: ..." on one line.
TARN_KIT_EXPORT std::string to_string(const C3dFinding& finding);

struct C3dMarker {
    /// What stands before the first colon of the label, "Male" of "Male:LFWT"; else empty.
    std::string subject;
    /// The rest of the label. A marker to which the file gives no label is called "*5" after its
    /// number from 1; labels that repeat stay as they are.
    std::string name;
    std::string description;
    /// The label as it stands in the file.
    std::string label() const { return subject.empty() ? name : subject + ":" + name; }
};

struct C3dChannel {
    std::string name; ///< "*5" where the file gives none, as for markers
    std::string description;
    std::string unit;
    /// A stored number less the offset times the scale is the value; the general scale is in it.
    double scale = 1;
    double offset = 0;
};

struct C3dRigidBody {
    std::string name; ///< "*5" where the file gives none, as for markers
    std::string description;
};

struct C3dEvent {
    std::string label;   ///< "Foot Strike"
    std::string context; ///< "Left"; empty for an event of the header
    std::string subject; ///< empty for an event of the header
    double time = 0;     ///< in seconds, as stated
    /// Whether it stands in the header (up to 18, with labels of 4 characters) and not in the
    /// parameters. Programs that write both state an event twice.
    bool inHeader = false;
    /// Whether it is to be shown; only the header can say that it is not.
    bool shown = true;
};

/// All that a C3D file says apart from its samples.
struct C3dInfo {
    std::vector<C3dMarker> markers;
    std::vector<C3dChannel> channels;
    std::vector<C3dRigidBody> bodies;
    std::vector<C3dEvent> events;
    /// How many frames the file holds: at most as many as it states.
    int frameCount = 0;
    /// The number of the first frame: frame i (from 0) is the file's number `firstFrame + i`.
    std::int64_t firstFrame = 1;
    /// Frames of markers per second, exactly as stated; 1 where nothing usable is stated.
    double rate = 0;
    /// How many samples of the analog channels, and of the rigid bodies, come with each frame.
    int samplesPerFrame = 0;
    int bodiesPerFrame = 0;
    /// The unit of length, spelled "mm", "cm", "m", "in" or "ft" where it is one of those, however
    /// the file spells it (`mete`); else as the file spells it, and empty where it states none.
    std::string unit;
    /// The length of the unit in metres; 0 where it is not known.
    double metresPerUnit = 0;
    C3dEncoding encoding = C3dEncoding::IntelReal;
    /// The size of one step of integer data, in the unit. Reals need none, but their residuals do.
    double scale = 0;
    C3dParameters parameters;
    std::vector<C3dFinding> report;

    /// Samples of the analog channels per second.
    double analogRate() const noexcept { return rate * samplesPerFrame; }
};

/// What a file held when it was read, byte for byte: with it, what has not been changed is written
/// as it was.
class C3dSource;

/// What a C3D file holds. To be written, a take needs no more than markers, a rate and tracks.
struct C3dTake : C3dInfo {
    /// One track of the data type `markerDataType` at offset 0, with a `MarkerFrame` of `markers`
    /// in every slot. Frame i is stamped `Time(i, fps)` with the rate rounded to a whole number;
    /// rate, length, frame count, times and work range are set, the current time is 0 and the name
    /// is that of the source without directory and extension.
    std::shared_ptr<Tracks> tracks;
    /// The same of the data type `analogDataType` with `channels`, at their own rate: sample i is
    /// stamped with it, and frame k of the markers is as old as sample k * `samplesPerFrame`. Empty
    /// where there are no channels.
    std::shared_ptr<Tracks> analogTracks;
    /// The same of the data type `rigidBodyDataType` with `bodies`. Empty where there are none.
    std::shared_ptr<Tracks> bodyTracks;
    /// Where the take was read from; empty for a take that never was a file.
    std::shared_ptr<const C3dSource> source;
};

/// Reads a C3D file: a header, groups of parameters, and samples of markers, analog channels and
/// rigid bodies, in any of the six encodings.
///
/// A C3D file states most of what matters twice. What disagrees is settled and reported: numbers of
/// markers, channels and frames and where the data starts by what makes the data fill the file, and
/// if that is true of all or none, by the parameters before the header; frames that the file cannot
/// hold are left out. A marker with a negative fourth word or a coordinate that is not finite was
/// not seen.
///
/// Throws `ReadError` with the offset of the byte and what was expected there when the file cannot
/// be read, or is not a C3D file. Memory is bounded by the size of the file, whatever its header
/// claims.
TARN_KIT_EXPORT C3dTake readC3d(const std::filesystem::path& file, const C3dOptions& options = {});

/// The same from a stream, read to its end; `name` stands for the file in errors and names the
/// take.
TARN_KIT_EXPORT C3dTake readC3d(std::istream& stream, const C3dOptions& options = {},
                                const std::string& name = "stream");

/// Reads header and parameters only, whatever the length of the take.
TARN_KIT_EXPORT C3dInfo readC3dInfo(const std::filesystem::path& file,
                                    const C3dOptions& options = {});

struct C3dWriteOptions {
    /// By default that of the take: the one it was read in, and `IntelReal` for one that was made.
    std::optional<C3dEncoding> encoding;
};

/// Writes a take as a C3D file.
///
/// A take that was read and not changed is written byte for byte as it was. After a change, all
/// that is the same keeps its bytes: samples, parameters, unknown groups, even what follows them.
/// The markers, channels, events, rate, unit and first frame of the take are what counts; the
/// parameters that state them are brought into line where they differ. Takes with more than 65,535
/// frames also get TRIAL:ACTUAL_START_FIELD, TRIAL:ACTUAL_END_FIELD and POINT:LONG_FRAMES; more
/// than 255 labels continue in LABELS2 and so on.
///
/// Integers are scaled such that the farthest marker fits, unless the take's `scale` does that
/// already. Markers that were filled are written as seen, with no camera and no residual.
///
/// Throws `std::invalid_argument`, before anything is written, if that cannot be: for a take
/// without tracks or a rate, a slot without a frame or with one of another number of markers, more
/// than 65,535 markers or channels, or parameters that do not fit their fields. A stream that fails
/// is left in that state.
TARN_KIT_EXPORT void writeC3d(const C3dTake& take, std::ostream& stream,
                              const C3dWriteOptions& options = {});

} // namespace tarn::kit

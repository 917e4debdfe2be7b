// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/files/Bvh.h>
#include <tarn_kit/files/C3d.h>
#include <tarn_kit/files/TrackDescription.h>
#include <tarn_store/Export.h>
#include <tarn_store/file/TakeReader.h>

#include <filesystem>
#include <string>
#include <vector>

namespace tarn::store {

// Takes out of take files for everything that works with takes of motion files.

/// Whether this is a take file or a database, by how it begins.
TARN_STORE_EXPORT bool isTakeFile(const std::filesystem::path& file);

/// The subjects of a file's bodies: of tracks of poses or solved bodies that say their rig.
TARN_STORE_EXPORT std::vector<std::string> bodiesIn(TakeReader& reader);

/// The body of a subject, with its poses from the first to the last that came: a pose in every
/// slot; where one was lost, the one before it. Of solved bodies, where it has nothing else. The
/// body of the file, if `subject` is empty and there is one. Throws `StoreError`, which lists the
/// subjects, if that is not so.
TARN_STORE_EXPORT kit::BvhTake bodyTakeOf(TakeReader& reader, const std::string& subject = {});

/// Whether a file has markers and no body.
TARN_STORE_EXPORT bool holdsMarkersOnly(TakeReader& reader);
/// The subjects of a file's tracks of markers.
TARN_STORE_EXPORT std::vector<std::string> markersIn(TakeReader& reader);

/// The markers of a subject, with the analog channels, rigid bodies and events that were kept with
/// them; of its first track of markers, if `subject` is empty. Markers and bodies of frames that
/// were lost were not seen; analog channels keep the sample before. Events that do
/// not say whose they are belong to the markers of a file that holds no others. Parameters that are
/// stated nowhere else, and the encoding, are not kept. Throws `StoreError` if there are none.
TARN_STORE_EXPORT kit::C3dTake markerTakeOf(TakeReader& reader, const std::string& subject = {});
/// What a description tells of a take of markers: labels, rate, unit and axis up, and the number of
/// the frame whose time has the index 0. It has no frames yet.
TARN_STORE_EXPORT kit::C3dTake markerTakeOf(const kit::TrackDescription& description);

} // namespace tarn::store

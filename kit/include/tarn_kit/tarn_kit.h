// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

/// Everything of the kit.

#include <tarn/tarn.h>
#include <tarn_kit/Export.h>
#include <tarn_kit/Version.h>
#include <tarn_kit/body/Analog.h>
#include <tarn_kit/body/BodyNames.h>
#include <tarn_kit/body/BodyPose.h>
#include <tarn_kit/body/ForwardKinematics.h>
#include <tarn_kit/body/HumanBody.h>
#include <tarn_kit/body/LengthUnit.h>
#include <tarn_kit/body/MarkerSet.h>
#include <tarn_kit/body/Markers.h>
#include <tarn_kit/body/Payload.h>
#include <tarn_kit/body/Rig.h>
#include <tarn_kit/body/RigidBodies.h>
#include <tarn_kit/body/Rotations.h>
#include <tarn_kit/body/Scaling.h>
#include <tarn_kit/body/SharedArray.h>
#include <tarn_kit/body/Space.h>
#include <tarn_kit/devices/Clock.h>
#include <tarn_kit/devices/ClockDiscipline.h>
#include <tarn_kit/devices/ClockOffset.h>
#include <tarn_kit/devices/Command.h>
#include <tarn_kit/devices/CommandThread.h>
#include <tarn_kit/devices/ReplayDevice.h>
#include <tarn_kit/files/Bvh.h>
#include <tarn_kit/files/C3d.h>
#include <tarn_kit/files/C3dParameters.h>
#include <tarn_kit/files/Codec.h>
#include <tarn_kit/files/Gltf.h>
#include <tarn_kit/files/ReadError.h>
#include <tarn_kit/files/SettingsFile.h>
#include <tarn_kit/files/TakeFormat.h>
#include <tarn_kit/files/Text.h>
#include <tarn_kit/files/TrackDescription.h>
#include <tarn_kit/processing/BodyDimensionCalibrator.h>
#include <tarn_kit/processing/ClockCalibrator.h>
#include <tarn_kit/processing/ForwardKinematicsSolver.h>
#include <tarn_kit/processing/cleaning/GapFilling.h>
#include <tarn_kit/processing/cleaning/GapFillingNode.h>
#include <tarn_kit/processing/cleaning/LowPass.h>
#include <tarn_kit/processing/cleaning/LowPassNode.h>
#include <tarn_kit/processing/cleaning/MarkerRepair.h>
#include <tarn_kit/processing/cleaning/MarkerRepairNode.h>
#include <tarn_kit/processing/cleaning/UnlabelledMarkers.h>
#include <tarn_kit/session/FrameQueue.h>
#include <tarn_kit/session/Linked.h>
#include <tarn_kit/session/Performer.h>
#include <tarn_kit/session/PerformerTake.h>
#include <tarn_kit/session/Playback.h>
#include <tarn_kit/session/Rate.h>
#include <tarn_kit/session/RecorderNode.h>
#include <tarn_kit/session/Resample.h>
#include <tarn_kit/session/Session.h>
#include <tarn_kit/session/TakeOf.h>
#include <tarn_kit/session/Tap.h>
#include <tarn_kit/session/Timecode.h>
#include <tarn_kit/solving/MarkerBody.h>
#include <tarn_kit/solving/MarkerCalibrator.h>
#include <tarn_kit/solving/MarkerFit.h>
#include <tarn_kit/solving/MarkerSolver.h>

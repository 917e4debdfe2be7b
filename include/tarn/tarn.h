// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

/// The whole library in one include.
#include <tarn/Actor.h>
#include <tarn/Bone.h>
#include <tarn/BoneID.h>
#include <tarn/Calibrator.h>
#include <tarn/Character.h>
#include <tarn/CommInterface.h>
#include <tarn/Device.h>
#include <tarn/DeviceCalibrator.h>
#include <tarn/Export.h>
#include <tarn/Frame.h>
#include <tarn/Joint.h>
#include <tarn/Object.h>
#include <tarn/OutputFile.h>
#include <tarn/Reply.h>
#include <tarn/Request.h>
#include <tarn/Rotation.h>
#include <tarn/Scene.h>
#include <tarn/Sequence.h>
#include <tarn/Settings.h>
#include <tarn/Skeleton.h>
#include <tarn/Solver.h>
#include <tarn/SolverCalibrator.h>
#include <tarn/StreamNode.h>
#include <tarn/Time.h>
#include <tarn/Timeline.h>
#include <tarn/Track.h>
#include <tarn/Tracks.h>
#include <tarn/Version.h>

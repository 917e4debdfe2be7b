// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

/// Everything of the drawing library.

#include <tarn_draw/Export.h>
#include <tarn_draw/canvas/Canvas.h>
#include <tarn_draw/canvas/Colours.h>
#include <tarn_draw/canvas/Picture.h>
#include <tarn_draw/figure/Camera.h>
#include <tarn_draw/figure/JointSide.h>
#include <tarn_draw/figure/StickFigure.h>
#include <tarn_draw/markers/MarkerSheet.h>
#include <tarn_draw/plot/CurvePanel.h>
#include <tarn_draw/plot/GroundPlan.h>
#include <tarn_draw/plot/TrackedJoints.h>
#include <tarn_draw/sheet/DrawFiles.h>
#include <tarn_draw/sheet/JointCurves.h>
#include <tarn_draw/sheet/MotionPlot.h>
#include <tarn_draw/sheet/PoseSheet.h>
#include <tarn_draw/sheet/Subject.h>
#include <tarn_kit/tarn_kit.h>

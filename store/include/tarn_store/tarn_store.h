// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

/// Everything of the library of take files.

#include <tarn_kit/tarn_kit.h>
#include <tarn_store/Export.h>
#include <tarn_store/file/StoreError.h>
#include <tarn_store/file/StoredTakes.h>
#include <tarn_store/file/TakeCheck.h>
#include <tarn_store/file/TakeDescription.h>
#include <tarn_store/file/TakeReader.h>
#include <tarn_store/file/TakeSplice.h>
#include <tarn_store/file/TakeWriter.h>
#include <tarn_store/recording/TakeRecorder.h>

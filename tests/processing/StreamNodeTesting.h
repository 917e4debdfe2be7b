// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/StreamNode.h>

namespace processing_testing {

/// A node whose ports the test declares.
class Node : public tarn::StreamNode {
public:
    using StreamNode::addIFramePort;
    using StreamNode::addISequencePort;
    using StreamNode::addOFramePort;
    using StreamNode::addOSequencePort;
};

} // namespace processing_testing

// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/processing/ForwardKinematicsSolver.h>

#include "body/Kinematics.h"
#include "processing/AnyNumber.h"

#include <tarn_kit/files/Text.h>

#include <any>
#include <array>
#include <cassert>
#include <charconv>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

namespace tarn::kit {

namespace {

constexpr int widestWindow = 1000;

/// The latest poses, as transforms relative to the parents, up to so many.
class Window {
public:
    int width() const { return width_; }
    /// Forgets the poses.
    void setWidth(int width) {
        width_ = width;
        clear();
    }
    void clear() { poses_.clear(); }

    /// Makes room for a further pose, in place of the oldest one if there is none left.
    Transforms& add() {
        if (poses_.size() < static_cast<std::size_t>(width_)) {
            newest_ = poses_.size();
            poses_.emplace_back();
        } else {
            newest_ = (newest_ + 1) % poses_.size();
        }
        return poses_[newest_];
    }

    /// Averages each node on its own, relative to its parent, so that segments keep their lengths.
    void setMean(Transforms& mean) const;

private:
    std::vector<Transforms> poses_; ///< a ring
    std::size_t newest_ = 0;
    int width_ = 1;
};

/// Adds `rotation` or its opposite, which turns the same, whichever is nearer to `reference`.
void accumulate(Quaterniond& sum, const Quaterniond& rotation, const Quaterniond& reference) {
    const double sign = dot(rotation, reference) < 0 ? -1 : 1;
    sum = {sum.x + sign * rotation.x, sum.y + sign * rotation.y, sum.z + sign * rotation.z,
           sum.w + sign * rotation.w};
}

void Window::setMean(Transforms& mean) const {
    const Transforms& newest = poses_[newest_];
    constexpr Transform zero = {{0, 0, 0, 0}, {0, 0, 0}};
    mean.assign(newest.size(), zero);
    for (std::size_t age = poses_.size(); age > 0;
         --age) { // oldest first, wherever the ring stands
        const Transforms& pose = poses_[(newest_ + poses_.size() + 1 - age) % poses_.size()];
        for (std::size_t i = 0; i < mean.size(); ++i) {
            accumulate(mean[i].rotation, pose[i].rotation, newest[i].rotation);
            mean[i].position = mean[i].position + pose[i].position;
        }
    }
    for (Transform& transform : mean) {
        transform.rotation = normalized(transform.rotation);
        transform.position = 1 / static_cast<double>(poses_.size()) * transform.position;
    }
}

Segment segmentOf(const Transform& transform, double scale) {
    return {toSingle(scale * transform.position), toSingle(transform.rotation)};
}

/// A number as text, with the fewest digits that read back to it.
template <class Number>
std::string textOf(Number number) {
    std::array<char, 32> text = {};
    const auto result = std::to_chars(text.data(), text.data() + text.size(), number);
    return {text.data(), result.ptr};
}

} // namespace

struct ForwardKinematicsSolver::PrivateData {
    explicit PrivateData(std::shared_ptr<const Rig> theRig) : rig(std::move(theRig)) {}

    void setScale(const std::any& value);
    void setSmoothingWindow(const std::any& value);

    /// The next input that was not solved yet; empty if there is none.
    std::shared_ptr<Frame> nextOf(const std::shared_ptr<Sequence>& sequence);
    /// The pose in a frame, if it is one of the rig.
    const Pose* poseIn(const Frame& frame) const;
    /// Lets the window hold what precedes an index of a take.
    void lookBack(Tracks& tracks, int first);
    /// The body of a pose, with its time; empty if the pose does not fit the rig.
    std::shared_ptr<Frame> solve(const Frame& frame);

    const std::shared_ptr<const Rig> rig;
    std::optional<Skeleton> skeleton; ///< none for a rig without joints
    float scale = 1;
    Window window;
    Transforms transforms;         ///< of the body that is being solved; kept for its memory
    std::weak_ptr<Sequence> input; ///< the input sequence ...
    int solvedInputs = 0;          ///< ... and how many of its frames have been dealt with
};

void ForwardKinematicsSolver::PrivateData::setScale(const std::any& value) {
    const std::optional<double> number = numberHeldBy(value);
    if (!number || !(std::abs(*number) <= static_cast<double>(std::numeric_limits<float>::max()))) {
        return;
    }
    if (const auto narrow = static_cast<float>(*number); narrow > 0) {
        scale = narrow;
    }
}

void ForwardKinematicsSolver::PrivateData::setSmoothingWindow(const std::any& value) {
    if (const std::optional<int> number = wholeNumberHeldBy(value, 1, widestWindow)) {
        window.setWidth(*number);
    }
}

std::shared_ptr<Frame>
ForwardKinematicsSolver::PrivateData::nextOf(const std::shared_ptr<Sequence>& sequence) {
    if (sequence == nullptr) {
        return nullptr;
    }
    if (input.lock() != sequence) { // the inputs were cleared
        input = sequence;
        solvedInputs = 0;
    }
    auto frame = sequence->getFrame(solvedInputs);
    if (frame != nullptr) {
        ++solvedInputs;
    }
    return frame;
}

const Pose* ForwardKinematicsSolver::PrivateData::poseIn(const Frame& frame) const {
    const auto* const pose = std::any_cast<Pose>(&frame.data());
    return pose != nullptr && pose->values.size() == rig->valueCount() ? pose : nullptr;
}

void ForwardKinematicsSolver::PrivateData::lookBack(Tracks& tracks, int first) {
    std::vector<std::shared_ptr<Frame>> past; // latest first
    const auto wanted = static_cast<std::size_t>(window.width() - 1);
    for (int i = first - 1; i >= 0 && past.size() < wanted; --i) {
        auto frame = tracks.getFrame(i, poseDataType);
        if (frame != nullptr && poseIn(*frame) != nullptr) {
            past.push_back(std::move(frame));
        }
    }
    window.clear();
    for (auto frame = past.rbegin(); frame != past.rend(); ++frame) {
        setLocal(*rig, *poseIn(**frame), window.add());
    }
}

std::shared_ptr<Frame> ForwardKinematicsSolver::PrivateData::solve(const Frame& frame) {
    const Pose* const pose = poseIn(frame);
    if (pose == nullptr) {
        return nullptr;
    }
    if (window.width() == 1) {
        setLocal(*rig, *pose, transforms);
    } else {
        setLocal(*rig, *pose, window.add());
        window.setMean(transforms);
    }
    makeWorld(*rig, transforms);
    BodyPose body;
    body.segments.reserve(transforms.size());
    for (const Transform& transform : transforms) {
        body.segments.push_back(segmentOf(transform, static_cast<double>(scale)));
    }
    return std::make_shared<Frame>(frame.time(), bodyDataType, std::move(body));
}

ForwardKinematicsSolver::ForwardKinematicsSolver(const std::string& id,
                                                 std::shared_ptr<const Rig> rig)
    : Solver("forward-kinematics", id) {
    assert(rig != nullptr);
    d_ = std::make_unique<PrivateData>(std::move(rig));
    addFactor(
        Scale, [this] { return std::any(d_->scale); },
        [this](const std::any& value) { d_->setScale(value); });
    addFactor(
        SmoothingWindow, [this] { return std::any(d_->window.width()); },
        [this](const std::any& value) { d_->setSmoothingWindow(value); });
    if (!d_->rig->skeletons().empty()) {
        // One of its own, over the same bones: a link to the rig's would change what others read.
        const Skeleton& body = *d_->rig->skeletons().front();
        d_->skeleton.emplace(body.skeletonName());
        d_->skeleton->setBone(body.rootBone());
        setSkeleton(&*d_->skeleton);
    }
}

ForwardKinematicsSolver::~ForwardKinematicsSolver() {
    if (d_->skeleton) {
        removeChild(&*d_->skeleton);
    }
}

const Rig& ForwardKinematicsSolver::rig() const { return *d_->rig; }

bool ForwardKinematicsSolver::doEvaluate() {
    while (const auto frame = d_->nextOf(getInput(poseDataType))) {
        auto body = d_->solve(*frame);
        if (body == nullptr) {
            return false;
        }
        addOutput(std::move(body));
    }
    return true;
}

bool ForwardKinematicsSolver::doEvaluate(std::shared_ptr<Tracks> tracks, int first, int last) {
    if (tracks == nullptr || first < 0 || first > last || last >= tracks->timeLength()) {
        return false;
    }
    d_->lookBack(*tracks, first);
    bool fits = true;
    for (int i = first; fits && i <= last; ++i) {
        if (const auto frame = tracks->getFrame(i, poseDataType)) {
            auto body = d_->solve(*frame);
            fits = body != nullptr;
            if (fits) {
                addOutput(std::move(body));
            }
        }
    }
    d_->window.clear();
    return fits;
}

void ForwardKinematicsSolver::doSaveStatus(Settings* settings) {
    settings->setValue("scale", textOf(d_->scale));
    settings->setValue("smoothingWindow", textOf(d_->window.width()));
}

void ForwardKinematicsSolver::doRestoreStatus(Settings* settings) {
    if (const auto scale = numberIn<double>(settings->value("scale", ""))) {
        setFactor(Scale, *scale);
    }
    if (const auto window = numberIn<double>(settings->value("smoothingWindow", ""))) {
        setFactor(SmoothingWindow, *window);
    }
    d_->window.clear();
}

} // namespace tarn::kit

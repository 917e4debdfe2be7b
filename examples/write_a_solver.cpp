// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// A solver: takes input frames, puts out motion, and has a factor that a host can turn.
#include <tarn/Solver.h>

#include <iostream>
#include <locale>
#include <memory>
#include <sstream>

/// Turns the tilt of a hip sensor into the height of the hips.
class HipSolver : public tarn::Solver {
public:
    static constexpr int tiltType = 100;   // float, degrees
    static constexpr int heightType = 101; // float, metres
    static constexpr int legFactor = 1;    // float, metres

    HipSolver() : Solver("hip", "example") {
        addFactor(
            legFactor, [this] { return std::any(leg_); },
            [this](const std::any& value) { leg_ = std::any_cast<float>(value); });
    }

protected:
    using Solver::doEvaluate; // the other form, over a take, is left as it is
    bool doEvaluate() override {
        const auto tilts = getInput(tiltType);
        if (tilts == nullptr) {
            return false; // nothing has arrived
        }
        for (int i = 0; i < tilts->frameCount(); ++i) {
            const auto tilt = tilts->getFrame(i);
            const float height = leg_ * (1 - tilt->dataAs<float>() / 90);
            addOutput(std::make_shared<tarn::Frame>(tilt->time(), heightType, height));
        }
        return true;
    }
    void doSaveStatus(tarn::Settings* settings) override {
        std::ostringstream text;
        text.imbue(std::locale::classic()); // a decimal point, whatever the host's locale
        text << leg_;
        settings->setValue("leg", text.str());
    }

private:
    float leg_ = 1;
};

int main() {
    HipSolver solver;
    solver.onFactorChanged().connect([](int id) { std::cout << "factor " << id << " set\n"; });
    std::cout << "without input: " << solver.evaluate() << "\n";

    solver.setFactor(HipSolver::legFactor, 0.5F);
    solver.addInput(std::make_shared<tarn::Frame>(tarn::Time(0, 60), HipSolver::tiltType, 0.0F));
    solver.addInput(std::make_shared<tarn::Frame>(tarn::Time(1, 60), HipSolver::tiltType, 45.0F));
    std::cout << "with input: " << solver.evaluate() << "\n";
    const auto heights = solver.getOutput(HipSolver::heightType);
    for (int i = 0; i < heights->frameCount(); ++i) {
        std::cout << "height " << heights->getFrame(i)->dataAs<float>() << "\n";
    }
    tarn::Settings status;
    solver.saveStatus(&status);
    std::cout << "saved leg " << status.value("leg", "") << "\n";
}

#include "Interrupt.h"

#include <array>
#include <atomic>
#include <csignal>

namespace tarn::capture {

namespace {

constexpr std::array<int, 2> stopSignals{SIGINT, SIGTERM};

// All that a signal handler may touch.
std::atomic<bool> requested{false};
static_assert(std::atomic<bool>::is_always_lock_free);

extern "C" void request(int /*signal*/) { requested = true; }

} // namespace

Interrupt::Interrupt() {
    requested = false;
    struct sigaction action {};
    action.sa_handler = request;
    action.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
    for (const int number : stopSignals) {
        ::sigaction(number, &action, nullptr);
    }
}

Interrupt::~Interrupt() {
    for (const int number : stopSignals) {
        std::signal(number, SIG_DFL);
    }
}

bool Interrupt::isRequested() const { return requested; }

} // namespace tarn::capture

// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "LiteralSignal.h"
#include "QtSender.h"

#include <tsignal/Signal.h>

#include <boost/signals2.hpp>
#include <sigc++/connection.h>
#include <sigc++/signal.h>

#include <functional>
#include <memory>
#include <mutex>
#include <vector>

/// One face for all contenders: `connect` returns a handle, `disconnect` takes it, `emit` calls.
namespace contenders {

template <class Arg>
struct Ours {
    using Handle = tsignal::Disconnector;
    template <class Slot>
    Handle connect(Slot slot) {
        return signal.connect(slot);
    }
    static void disconnect(Handle& handle) { handle(); }
    void emit(const Arg& value) { signal.emit(value); }
    tsignal::Signal<Arg> signal;
};

template <class Arg>
struct Literal {
    using Handle = std::function<void()>;
    template <class Slot>
    Handle connect(Slot slot) {
        return signal.connect(slot);
    }
    static void disconnect(Handle& handle) { handle(); }
    void emit(const Arg& value) { signal.emit(value); }
    literal::Signal<Arg> signal;
};

template <class Arg>
struct Boost {
    using Handle = boost::signals2::connection;
    template <class Slot>
    Handle connect(Slot slot) {
        return signal.connect(slot);
    }
    static void disconnect(Handle& handle) { handle.disconnect(); }
    void emit(const Arg& value) { signal(value); }
    boost::signals2::signal<void(Arg)> signal;
};

template <class Arg>
struct Qt;

template <>
struct Qt<int> {
    using Handle = QMetaObject::Connection;
    template <class Slot>
    Handle connect(Slot slot) {
        return QObject::connect(&sender, &QtSender::number, slot);
    }
    static void disconnect(Handle& handle) { QObject::disconnect(handle); }
    void emit(int value) { sender.number(value); }
    QtSender sender;
};

template <>
struct Qt<std::shared_ptr<int>> {
    using Handle = QMetaObject::Connection;
    template <class Slot>
    Handle connect(Slot slot) {
        return QObject::connect(&sender, &QtSender::pointer, slot);
    }
    static void disconnect(Handle& handle) { QObject::disconnect(handle); }
    void emit(const std::shared_ptr<int>& value) { sender.pointer(value); }
    QtSender sender;
};

template <class Arg>
struct Sigc {
    using Handle = sigc::connection;
    template <class Slot>
    Handle connect(Slot slot) {
        return signal.connect(slot);
    }
    static void disconnect(Handle& handle) { handle.disconnect(); }
    void emit(const Arg& value) { signal.emit(value); }
    sigc::signal<void, Arg> signal;
};

/// The least that could do: a vector of functions, which nobody may touch meanwhile.
template <class Arg>
struct BareFunctions {
    template <class Slot>
    void connect(Slot slot) {
        functions.emplace_back(slot);
    }
    void emit(Arg value) {
        for (const std::function<void(Arg)>& function : functions) {
            function(value);
        }
    }
    std::vector<std::function<void(Arg)>> functions;
};

/// The least that could do for several threads.
template <class Arg>
struct LockedFunctions : BareFunctions<Arg> {
    void emit(Arg value) {
        const std::lock_guard<std::recursive_mutex> lock(mutex);
        for (const std::function<void(Arg)>& function : this->functions) {
            function(value);
        }
    }
    std::recursive_mutex mutex;
};

} // namespace contenders

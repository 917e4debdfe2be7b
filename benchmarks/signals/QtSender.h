// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <QObject>

#include <memory>

/// A sender of the signals that the benchmark needs.
class QtSender : public QObject {
    Q_OBJECT

Q_SIGNALS:
    void number(int value);
    void pointer(std::shared_ptr<int> value);
};

// SPDX-License-Identifier: BSD-3-Clause
// What a destructor does with bytes that were never written out.
#pragma once

#include <icawave/platform/Exception.h>
#include <icawave/platform/Message.h>

#include <exception>

namespace icawave {

// Runs close() once and shows a failure as a message, since a destructor cannot raise it. Does nothing when
// an exception destroys the object, since what it was writing is incomplete: then more exceptions are in
// flight than the `unwinding` ones that were when the object was made.
template <class Close>
void closeInDestructor(int unwinding, Close&& close) noexcept {
    if (std::uncaught_exceptions() > unwinding) return;
    try {
        try {
            close();
        } catch (const CException& failure) {
            AfxMessageBox(failure.what());
        }
    } catch (...) { // the message could not be shown either
    }
}

} // namespace icawave

// SPDX-License-Identifier: BSD-3-Clause
// Allocation as the records and classes want it: a null pointer, or the library's own exception, never
// std::bad_alloc.
#pragma once

#include <icawave/platform/Exception.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <new>
#include <stdexcept>
#include <utility>

namespace icawave {

// `count` default-initialised elements (doubles are not set), released with delete[]; null when count is
// negative or memory runs out.
template <class T>
T* newArray(std::int64_t count) {
    if (count < 0 ||
        count > std::numeric_limits<std::ptrdiff_t>::max() / static_cast<std::int64_t>(sizeof(T)))
        return nullptr;
    try {
        return new (std::nothrow) T[count];
    } catch (const CMemoryException&) { // an element's constructor
        return nullptr;
    }
}

// Runs f, turning std::bad_alloc and lengths beyond a container's reach into CMemoryException.
template <class F>
decltype(auto) withMemoryException(F&& f) {
    try {
        return std::forward<F>(f)();
    } catch (const std::bad_alloc&) {
        AfxThrowMemoryException();
    } catch (const std::length_error&) {
        AfxThrowMemoryException();
    }
}

// Runs f; false when memory ran out in it.
template <class F>
bool fitsInMemory(F&& f) {
    try {
        withMemoryException(std::forward<F>(f));
        return true;
    } catch (const CMemoryException&) {
        return false;
    }
}

// Whether p points to one of `count` elements from `first` on, which may be null.
template <class T>
bool pointsInto(const T* p, const T* first, std::int64_t count) {
    return first && !std::less<>()(p, first) && std::less<>()(p, first + count);
}

} // namespace icawave

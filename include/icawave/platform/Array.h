// SPDX-License-Identifier: BSD-3-Clause
// Growable arrays with 64-bit sizes and checked access: CPtrArray of pointers that it does not own,
// CUIntArray of unsigned integers.
//
// An index outside the array, or a negative size, raises CInvalidArgException and changes nothing; memory
// that runs out raises CMemoryException.
#pragma once

#include <icawave/Export.h>

#include <cstdint>
#include <vector>

namespace icawave {

template <class T>
class GrowableArray {
public:
    std::int64_t GetSize() const noexcept { return static_cast<std::int64_t>(m_elements.size()); }
    void SetSize(std::int64_t size); // new elements are 0; size 0 releases the storage
    void RemoveAll() { SetSize(0); }
    void Reserve(std::int64_t size); // makes room; the size stays

    T GetAt(std::int64_t index) const { return m_elements[checked(index, GetSize())]; }
    void SetAt(std::int64_t index, T value) { m_elements[checked(index, GetSize())] = value; }
    T operator[](std::int64_t index) const { return GetAt(index); }
    T& operator[](std::int64_t index) { return m_elements[checked(index, GetSize())]; }

    std::int64_t Add(T value);                  // the new element's index
    void InsertAt(std::int64_t index, T value); // later elements move up; index may be the size
    void RemoveAt(std::int64_t index);          // later elements move down

private:
    static std::size_t checked(std::int64_t index, std::int64_t size);

    std::vector<T> m_elements;
};

extern template class ICAWAVE_EXPORT GrowableArray<void*>;
extern template class ICAWAVE_EXPORT GrowableArray<std::uint32_t>;

} // namespace icawave

using CPtrArray = icawave::GrowableArray<void*>;
using CUIntArray = icawave::GrowableArray<std::uint32_t>;

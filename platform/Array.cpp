// SPDX-License-Identifier: BSD-3-Clause
#include <icawave/platform/Array.h>

#include "platform/Alloc.h"

namespace icawave {

template <class T>
std::size_t GrowableArray<T>::checked(std::int64_t index, std::int64_t size) {
    if (index < 0 || index >= size) AfxThrowInvalidArgException();
    return index;
}

template <class T>
void GrowableArray<T>::SetSize(std::int64_t size) {
    if (size < 0) AfxThrowInvalidArgException();
    if (size == 0) return std::vector<T>().swap(m_elements); // an assignment would keep the storage
    withMemoryException([&] { m_elements.resize(size); });
}

template <class T>
void GrowableArray<T>::Reserve(std::int64_t size) {
    if (size < 0) AfxThrowInvalidArgException();
    withMemoryException([&] { m_elements.reserve(size); });
}

template <class T>
std::int64_t GrowableArray<T>::Add(T value) {
    withMemoryException([&] { m_elements.push_back(value); });
    return GetSize() - 1;
}

template <class T>
void GrowableArray<T>::InsertAt(std::int64_t index, T value) {
    const std::ptrdiff_t at = checked(index, GetSize() + 1);
    withMemoryException([&] { m_elements.insert(m_elements.begin() + at, value); });
}

template <class T>
void GrowableArray<T>::RemoveAt(std::int64_t index) {
    m_elements.erase(m_elements.begin() + checked(index, GetSize()));
}

template class GrowableArray<void*>;
template class GrowableArray<std::uint32_t>;

} // namespace icawave

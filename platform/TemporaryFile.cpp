// SPDX-License-Identifier: BSD-3-Clause
#include "platform/TemporaryFile.h"

#include <icawave/platform/AtomicFile.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <utility>

namespace icawave {

namespace {

constexpr int maxNames = 1000;
constexpr std::size_t maxHost = 64; // bytes of its name

// What a signal removes. Its handler may interrupt anything: a slot is complete before `process` says whose
// it is. Files beyond the last slot are left to the next save.
struct Slot {
    std::atomic<bool> taken = false;
    std::atomic<std::uint64_t> process = 0; // a child that was forked owns none
    int folder = -1;
    std::array<char, 128> name{};
};
static_assert(std::atomic<std::uint64_t>::is_always_lock_free);
std::array<Slot, 32> slots;

int takeSlot(int folder, const std::string& name) {
    for (std::size_t k = 0; k < slots.size(); ++k) {
        Slot& slot = slots[k];
        if (name.size() >= slot.name.size() || slot.taken.exchange(true)) continue;
        slot.folder = folder;
        *std::copy(name.begin(), name.end(), slot.name.begin()) = '\0';
        slot.process = system::processNumber();
        return static_cast<int>(k);
    }
    return -1;
}

void freeSlot(int slot) {
    if (slot < 0) return;
    slots[static_cast<std::size_t>(slot)].process = 0;
    slots[static_cast<std::size_t>(slot)].taken = false;
}

// What the names of this machine's temporary files begin with.
std::string namePrefix() {
    std::string host = system::hostName().substr(0, maxHost);
    std::ranges::replace(host, '/', '_');
    return ".icawave-" + host + "-";
}

} // namespace

void removeTemporaryFiles() noexcept {
    const std::uint64_t own = system::processNumber();
    for (const Slot& slot : slots) {
        if (slot.process == own) system::remove(slot.folder, slot.name.data());
    }
}

TemporaryFile::~TemporaryFile() {
    if (isThere()) system::remove(m_folder, m_name.c_str());
    forget();
}

void TemporaryFile::forget() noexcept {
    freeSlot(std::exchange(m_slot, -1));
    if (m_descriptor >= 0) system::close(std::exchange(m_descriptor, -1));
}

int TemporaryFile::create(int folder, std::uint32_t permissions) {
    static std::atomic<std::uint32_t> next = 0;
    m_folder = folder;
    const std::string prefix = namePrefix() + std::to_string(system::processNumber()) + "-";
    int error = EEXIST;
    for (int k = 0; k < maxNames && error == EEXIST; ++k) {
        m_name = prefix + std::to_string(next++);
        error = createNext(permissions);
    }
    return error;
}

// Until it is locked, another process may take the file for one that was left: then it has its lock, or has
// removed it already, and another name is tried.
int TemporaryFile::createNext(std::uint32_t permissions) {
    m_slot = takeSlot(m_folder, m_name);
    int error = system::open(m_folder, m_name.c_str(), system::Open::createNew, m_descriptor, permissions);
    if (error == 0) {
        const bool isSeen = system::tryLock(m_descriptor) == EWOULDBLOCK;
        system::Status status;
        error = system::statusOf(m_descriptor, status);
        if (error == 0 && !isSeen && status.links > 0) return 0;
        if (error == 0) error = EEXIST;
        system::remove(m_folder, m_name.c_str());
    }
    m_name.clear();
    forget();
    return error;
}

int TemporaryFile::putInPlace(const std::string& name) {
    const int error = system::renameOver(m_folder, m_name.c_str(), name.c_str());
    if (error != 0) return error;
    freeSlot(std::exchange(m_slot, -1));
    m_name.clear();
    return 0;
}

void removeLeftFiles(int folder) {
    const std::string prefix = namePrefix();
    for (const std::string& name : system::namesIn(folder, prefix)) {
        if (name.find_first_not_of("0123456789-", prefix.size()) != std::string::npos)
            continue; // another host's
        int file = -1;
        if (system::open(folder, name.c_str(), system::Open::lock, file) != 0) continue;
        const system::Handle opened(file);
        if (system::tryLock(file) == 0) system::remove(folder, name.c_str());
    }
}

} // namespace icawave

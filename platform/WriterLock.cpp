// SPDX-License-Identifier: BSD-3-Clause
// One writer at a time. The lock belongs to an open file of the system (flock): it ends with its process,
// however that ends, and two threads that opened the file each exclude each other like two processes.
#include "platform/WriterLock.h"

#include "platform/Alloc.h"
#include "platform/SaveNotice.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <mutex>
#include <utility>
#include <vector>

namespace icawave {

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr auto patience = 10s;
constexpr auto silence = 1s;
constexpr auto longestPause = 50ms; // between two attempts
constexpr std::string_view ending = ".lock";

// Two long names may share a lock, which costs them a wait and nothing else.
std::string lockName(const FileTarget& target) {
    const std::size_t longest = system::longestName(target.folder()) - ending.size() - 1;
    return "." + target.name().substr(0, longest) + std::string(ending);
}

// Who holds a lock: PROCESS HOST PROGRAM in the file.
std::string ownDescription() {
    return std::to_string(system::processNumber()) + " " + system::hostName() + " " + system::programName() +
           "\n";
}

std::string holderOf(int file) {
    std::array<char, 300> bytes;
    const auto [count, error] = system::readAt(file, 0, bytes.data(), std::ssize(bytes));
    const std::string text(bytes.data(), static_cast<std::size_t>(error == 0 ? count : 0));
    const std::size_t host = text.find(' ');
    const std::size_t program = host < text.size() ? text.find(' ', host + 1) : text.npos;
    if (program == text.npos) return "another program";
    return text.substr(program + 1, text.find('\n', program) - program - 1) + " (process " +
           text.substr(0, host) + " on " + text.substr(host + 1, program - host - 1) + ")";
}

} // namespace

// The locks of this process; a thread that has one takes no other of the same file.
class HeldLocks {
public:
    std::shared_ptr<WriterLock::Held> find(const WriterLock::Held& wanted) {
        const std::lock_guard guard(m_mutex);
        std::erase_if(m_held, [](const auto& held) { return held.expired(); });
        for (const auto& held : m_held) {
            std::shared_ptr<WriterLock::Held> found = held.lock();
            if (found && found->isSame(wanted)) return found;
        }
        return nullptr;
    }
    void add(const std::shared_ptr<WriterLock::Held>& held) {
        const std::lock_guard guard(m_mutex);
        m_held.push_back(held);
    }

private:
    std::mutex m_mutex;
    std::vector<std::weak_ptr<WriterLock::Held>> m_held;
};

WriterLock::Held::~Held() {
    if (file < 0) return;
    if (process == system::processNumber()) system::unlock(file); // else a forked child's copy ends
    system::close(file);
}

bool WriterLock::Held::isSame(const Held& other) const {
    return folderDevice == other.folderDevice && folderInode == other.folderInode && name == other.name &&
           process == other.process && thread == other.thread;
}

void WriterLock::Held::take(const std::filesystem::path& path, int folder) {
    int error = system::open(folder, name.c_str(), system::Open::lock, file);
    if (error == EACCES && // another user's, whose lock can be waited for all the same
        system::open(folder, name.c_str(), system::Open::lockReadOnly, file) == 0)
        error = 0;
    if (error == 0) error = wait(path);
    if (error != 0) {
        problem =
            "cannot be locked (" + system::errorText(error) + "); another program may write it meanwhile";
        return;
    }
    const std::string text = ownDescription();
    if (system::truncate(file, 0) == 0) system::write(file, text.data(), std::ssize(text));
}

int WriterLock::Held::wait(const std::filesystem::path& path) const {
    const auto begin = Clock::now();
    bool isTold = false;
    for (std::chrono::milliseconds pause = 1ms;; pause = std::min(2 * pause, longestPause)) {
        const int error = system::tryLock(file);
        if (error != EWOULDBLOCK) return error;
        const auto waited = Clock::now() - begin;
        if (waited >= patience)
            throw FileError(path, "is being written by " + holderOf(file) + "; gave up after 10 s");
        if (waited >= silence && !std::exchange(isTold, true))
            giveNotice(path, "waiting for " + holderOf(file) + ", which is writing it");
        std::this_thread::sleep_for(pause);
    }
}

void WriterLock::Held::tellProblem(const std::filesystem::path& path) {
    if (!problem.empty()) giveNotice(path, std::exchange(problem, {}));
}

WriterLock::WriterLock(const std::filesystem::path& path) {
    static HeldLocks locks;
    withMemoryException([&] {
        system::Status status;
        const int error = system::statusOf(systemPath(path).c_str(), status);
        if (error == 0 && !status.isRegular) return;
        const FileTarget target(path);
        auto held = std::make_shared<Held>();
        if (system::statusOf(target.folder(), status) != 0) return;
        held->folderDevice = status.device;
        held->folderInode = status.inode;
        held->name = lockName(target);
        m_held = locks.find(*held);
        if (m_held) return;
        held->take(path, target.folder());
        locks.add(held);
        m_held = std::move(held);
    });
}

} // namespace icawave

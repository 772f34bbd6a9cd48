// A library to preload into a process whose calls of memory and of the kernel are to fail. What fails, and when, is in
// the plan that the test shares with it; each failure is told in a file, with its callers.
//
// SABOTEUR_PLAN: the file with the plan. SABOTEUR_REPORT: where the failures are told. SABOTEUR_PLACE: the folder in
// which the sockets are met that belong directly into /tmp, where there is one of each for the whole machine.
// SABOTEUR_DEPTH: how many callers tell one place from another.

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <initializer_list>
#include <poll.h>
#include <pthread.h>
#include <string_view>
#include <sys/epoll.h>
#include <sys/inotify.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/select.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/timerfd.h>
#include <sys/uio.h>
#include <sys/un.h>
#include <unistd.h>

#include "SabotagePlan.h"

extern "C" {
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
}

namespace {

using fault_injection::SabotagePlan;

constexpr std::uint32_t kGap = 15; // calls that succeed between two that fail
constexpr int kDeepest = 16;

SabotagePlan* g_plan = nullptr;
int g_report = -1;
int g_depth = 5;
[[gnu::tls_model("initial-exec")]] thread_local bool t_busy = false; // what the saboteur itself calls does not fail

std::uint64_t mixed(std::uint64_t hash, std::uint64_t value)
{
    hash = (hash ^ value) * 0x9E3779B97F4A7C15U;
    return hash ^ (hash >> 29);
}

// The same in every run of the same programs, wherever they are loaded.
std::uint64_t placeOf(void* const* callers, int count)
{
    std::uint64_t hash = 0;
    for (int i = 0; i < count; ++i) {
        dl_find_object module;
        const bool known = _dl_find_object(callers[i], &module) == 0;
        const auto start = known ? reinterpret_cast<std::uintptr_t>(module.dlfo_map_start) : 0;
        if (known) { // what lies above a program's entry is not
            hash = mixed(hash, reinterpret_cast<std::uintptr_t>(callers[i]) - start);
        }
    }
    return hash;
}

// False when it is there already, or when there is no room.
bool enlist(std::uint64_t id)
{
    auto& table = g_plan->failed;
    for (std::size_t step = 0; step < table.size(); ++step) {
        std::uint64_t before = 0;
        if (table[(id + step) % table.size()].compare_exchange_strong(before, id)) {
            return true;
        }
        if (before == id) {
            return false;
        }
    }
    return false;
}

void tell(const char* call, std::uint64_t id, int reason, void* const* callers, int count)
{
    std::array<char, 128> head;
    const auto length =
        std::snprintf(head.data(), head.size(), "%u: %s fails with %s, SABOTAGE=%llx\n", g_plan->count.load(), call,
                      strerrorname_np(reason), static_cast<unsigned long long>(id));
    [[maybe_unused]] const auto written = write(g_report, head.data(), static_cast<std::size_t>(length));
    backtrace_symbols_fd(callers, count, g_report);
}

bool isDue()
{
    auto waiting = g_plan->waiting.load();
    while (waiting > 0) {
        if (g_plan->waiting.compare_exchange_weak(waiting, waiting - 1)) {
            return false;
        }
    }
    return true;
}

// Whether this call is to fail; errno is then its reason.
[[gnu::noinline]] bool fails(SabotagePlan::Kind kind, const char* call, std::initializer_list<int> reasons)
{
    if (g_plan == nullptr || g_plan->kind.load() != kind || g_plan->left.load() == 0 || t_busy || !isDue()) {
        return false;
    }
    t_busy = true;
    std::array<void*, kDeepest + 2> stack;
    const int count = backtrace(stack.data(), g_depth + 2) - 2; // without us and the call
    const auto place = mixed(placeOf(stack.data() + 2, count), std::hash<std::string_view>{}(call));
    const auto only = g_plan->only.load();
    const auto* const reason = std::find_if(reasons.begin(), reasons.end(), [&](int one) {
        const auto id = mixed(place, static_cast<std::uint64_t>(one));
        return (only == 0 || id == only) && enlist(id);
    });
    const bool failing = reason != reasons.end();
    if (failing) {
        ++g_plan->count;
        --g_plan->left;
        g_plan->waiting = kGap;
        tell(call, mixed(place, static_cast<std::uint64_t>(*reason)), *reason, stack.data() + 2, count);
        errno = *reason;
    }
    t_busy = false;
    return failing;
}

bool allocationFails(const char* call)
{
    return fails(SabotagePlan::allocations, call, {ENOMEM});
}

template <typename Function>
Function* real(const char* name, Function*)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

// A descriptor without a length can only be interrupted; files also have bad media behind them.
bool readFails(const char* call, int descriptor)
{
    struct stat status;
    return fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode)
               ? fails(SabotagePlan::systemCalls, call, {EINTR, EIO})
               : fails(SabotagePlan::systemCalls, call, {EINTR});
}

// The path, or one in our own folder in the place of one that lies directly in /tmp.
const char* moved(const char* path, sockaddr_un& storage)
{
    constexpr std::string_view kShared = "/tmp/";
    const char* const place = std::getenv("SABOTEUR_PLACE");
    const std::string_view text{path};
    if (place == nullptr || !text.starts_with(kShared) || text.find('/', kShared.size()) != std::string_view::npos) {
        return path;
    }
    storage.sun_family = AF_UNIX;
    std::snprintf(storage.sun_path, sizeof storage.sun_path, "%s/%s", place, path + kShared.size());
    return storage.sun_path;
}

const sockaddr* moved(const sockaddr* address, socklen_t& length, sockaddr_un& storage)
{
    const auto* const path = reinterpret_cast<const sockaddr_un*>(address)->sun_path;
    if (address->sa_family != AF_UNIX || moved(path, storage) == path) {
        return address;
    }
    length = sizeof storage;
    return reinterpret_cast<const sockaddr*>(&storage);
}

[[gnu::constructor]] void begin()
{
    const char* const plan = std::getenv("SABOTEUR_PLAN");
    const char* const report = std::getenv("SABOTEUR_REPORT");
    if (plan == nullptr || report == nullptr) {
        return;
    }
    std::array<void*, 2> stack;
    backtrace(stack.data(), 2); // loads what it needs
    g_report = open(report, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
    const int file = open(plan, O_RDWR | O_CLOEXEC);
    auto* const memory = mmap(nullptr, sizeof(SabotagePlan), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    close(file);
    if (memory == MAP_FAILED || g_report < 0) {
        std::abort();
    }
    if (const char* const depth = std::getenv("SABOTEUR_DEPTH")) {
        g_depth = std::clamp(std::atoi(depth), 1, kDeepest);
    }
    g_plan = static_cast<SabotagePlan*>(memory);
}

} // namespace

// A system call that fails for one of the reasons or is what it always was.
#define SABOTAGED(result, name, parameters, arguments, ...)                                                            \
    extern "C" result name parameters                                                                                  \
    {                                                                                                                  \
        static auto* const call = real(#name, &name);                                                                  \
        return fails(SabotagePlan::systemCalls, #name, {__VA_ARGS__}) ? result{-1} : call arguments;                   \
    }

// The same for those that take a mode when they make a file.
#define SABOTAGED_OPEN(name, parameters, arguments)                                                                    \
    extern "C" int name parameters                                                                                     \
    {                                                                                                                  \
        static auto* const call = real(#name, &name);                                                                  \
        va_list more;                                                                                                  \
        va_start(more, flags);                                                                                         \
        const auto mode = va_arg(more, mode_t);                                                                        \
        va_end(more);                                                                                                  \
        return fails(SabotagePlan::systemCalls, #name, {EMFILE}) ? -1 : call arguments;                                \
    }

extern "C" {

void* malloc(std::size_t size)
{
    return allocationFails("malloc") ? nullptr : __libc_malloc(size);
}
void* calloc(std::size_t number, std::size_t size)
{
    return allocationFails("calloc") ? nullptr : __libc_calloc(number, size);
}
void* realloc(void* memory, std::size_t size)
{
    return allocationFails("realloc") ? nullptr : __libc_realloc(memory, size);
}
void* reallocarray(void* memory, std::size_t number, std::size_t size)
{
    std::size_t bytes = 0;
    if (__builtin_mul_overflow(number, size, &bytes) || allocationFails("reallocarray")) {
        errno = ENOMEM;
        return nullptr;
    }
    return __libc_realloc(memory, bytes);
}
int connect(int descriptor, const sockaddr* address, socklen_t length)
{
    static auto* const call = real("connect", &connect);
    sockaddr_un storage{};
    const auto* const place = moved(address, length, storage);
    return fails(SabotagePlan::systemCalls, "connect", {ECONNREFUSED, EAGAIN}) ? -1 : call(descriptor, place, length);
}
int bind(int descriptor, const sockaddr* address, socklen_t length)
{
    static auto* const call = real("bind", &bind);
    sockaddr_un storage{};
    const auto* const place = moved(address, length, storage);
    return fails(SabotagePlan::systemCalls, "bind", {EADDRINUSE}) ? -1 : call(descriptor, place, length);
}
int unlink(const char* path)
{
    static auto* const call = real("unlink", &unlink);
    sockaddr_un storage{};
    return call(moved(path, storage));
}
int fchmodat(int folder, const char* path, mode_t mode, int flags)
{
    static auto* const call = real("fchmodat", &fchmodat);
    sockaddr_un storage{};
    return call(folder, moved(path, storage), mode, flags);
}
ssize_t read(int descriptor, void* buffer, std::size_t size)
{
    static auto* const call = real("read", &read);
    return readFails("read", descriptor) ? -1 : call(descriptor, buffer, size);
}
FILE* fopen64(const char* path, const char* mode)
{
    static auto* const call = real("fopen64", &fopen64);
    return fails(SabotagePlan::systemCalls, "fopen64", {EMFILE}) ? nullptr : call(path, mode);
}
DIR* opendir(const char* path)
{
    static auto* const call = real("opendir", &opendir);
    return fails(SabotagePlan::systemCalls, "opendir", {EMFILE}) ? nullptr : call(path);
}
int ioctl(int descriptor, unsigned long request, ...)
{
    static auto* const call = real("ioctl", &ioctl);
    va_list more;
    va_start(more, request);
    auto* const argument = va_arg(more, void*);
    va_end(more);
    return fails(SabotagePlan::systemCalls, "ioctl", {ENODEV}) ? -1 : call(descriptor, request, argument);
}
int epoll_ctl(int descriptor, int operation, int target, epoll_event* event)
{
    static auto* const call = real("epoll_ctl", &epoll_ctl);
    const bool failing = operation == EPOLL_CTL_ADD && fails(SabotagePlan::systemCalls, "epoll_ctl", {ENOMEM, ENOSPC});
    return failing ? -1 : call(descriptor, operation, target, event);
}
int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*), void* argument)
{
    static auto* const call = real("pthread_create", &pthread_create);
    return fails(SabotagePlan::systemCalls, "pthread_create", {EAGAIN}) ? EAGAIN
                                                                        : call(thread, attributes, body, argument);
}

} // extern "C"

SABOTAGED_OPEN(open, (const char* path, int flags, ...), (path, flags, mode))
SABOTAGED_OPEN(open64, (const char* path, int flags, ...), (path, flags, mode))
SABOTAGED_OPEN(openat64, (int folder, const char* path, int flags, ...), (folder, path, flags, mode))
SABOTAGED(int, socket, (int domain, int type, int protocol), (domain, type, protocol), EMFILE, ENOBUFS)
SABOTAGED(int, accept4, (int listening, sockaddr* peer, socklen_t* length, int flags), (listening, peer, length, flags),
          EMFILE, ECONNABORTED)
SABOTAGED(int, listen, (int descriptor, int backlog), (descriptor, backlog), EADDRINUSE)
SABOTAGED(int, getsockname, (int descriptor, sockaddr* address, socklen_t* length), (descriptor, address, length),
          ENOBUFS)
SABOTAGED(int, getsockopt, (int descriptor, int level, int name, void* value, socklen_t* length),
          (descriptor, level, name, value, length), ENOMEM)
SABOTAGED(int, setsockopt, (int descriptor, int level, int name, const void* value, socklen_t length),
          (descriptor, level, name, value, length), ENOMEM)
SABOTAGED(ssize_t, readv, (int descriptor, const iovec* parts, int count), (descriptor, parts, count), EINTR)
SABOTAGED(ssize_t, recv, (int descriptor, void* buffer, std::size_t size, int flags), (descriptor, buffer, size, flags),
          EINTR, ENOBUFS, ECONNRESET)
SABOTAGED(ssize_t, recvfrom,
          (int descriptor, void* buffer, std::size_t size, int flags, sockaddr* sender, socklen_t* length),
          (descriptor, buffer, size, flags, sender, length), EINTR, ENOBUFS)
SABOTAGED(ssize_t, recvmsg, (int descriptor, msghdr* message, int flags), (descriptor, message, flags), EINTR, ENOBUFS,
          ECONNRESET)
SABOTAGED(ssize_t, send, (int descriptor, const void* buffer, std::size_t size, int flags),
          (descriptor, buffer, size, flags), EINTR, ENOBUFS, ECONNRESET)
SABOTAGED(ssize_t, sendto,
          (int descriptor, const void* buffer, std::size_t size, int flags, const sockaddr* to, socklen_t length),
          (descriptor, buffer, size, flags, to, length), ENOBUFS)
SABOTAGED(ssize_t, sendmsg, (int descriptor, const msghdr* message, int flags), (descriptor, message, flags), EINTR,
          EAGAIN, ENOBUFS, ECONNRESET)
SABOTAGED(ssize_t, write, (int descriptor, const void* buffer, std::size_t size), (descriptor, buffer, size), EINTR,
          EPIPE)
SABOTAGED(ssize_t, writev, (int descriptor, const iovec* parts, int count), (descriptor, parts, count), EINTR, EPIPE)
SABOTAGED(int, poll, (pollfd * entries, nfds_t count, int patience), (entries, count, patience), EINTR, ENOMEM)
SABOTAGED(int, ppoll, (pollfd * entries, nfds_t count, const timespec* patience, const sigset_t* mask),
          (entries, count, patience, mask), EINTR, ENOMEM)
SABOTAGED(int, select, (int count, fd_set* in, fd_set* out, fd_set* bad, timeval* patience),
          (count, in, out, bad, patience), EINTR, ENOMEM)
SABOTAGED(int, epoll_wait, (int descriptor, epoll_event* events, int count, int patience),
          (descriptor, events, count, patience), EINTR)
SABOTAGED(int, epoll_create1, (int flags), (flags), EMFILE, ENOMEM)
SABOTAGED(int, eventfd, (unsigned start, int flags), (start, flags), EMFILE)
SABOTAGED(int, timerfd_create, (clockid_t clock, int flags), (clock, flags), EMFILE)
SABOTAGED(int, signalfd, (int descriptor, const sigset_t* mask, int flags), (descriptor, mask, flags), EMFILE)
SABOTAGED(int, inotify_init1, (int flags), (flags), EMFILE)
SABOTAGED(int, inotify_add_watch, (int descriptor, const char* path, std::uint32_t mask), (descriptor, path, mask),
          ENOSPC)
SABOTAGED(int, memfd_create, (const char* name, unsigned flags), (name, flags), EMFILE)

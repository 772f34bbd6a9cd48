#include "DltSink.h"

#include <algorithm>
#include <cstdlib>
#include <dlt_common.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "DltContextIds.h"
#include "tracing/DltLink.h"

namespace tracing {
namespace {

constexpr char kApplication[] = "IDSP";
constexpr char kDescription[] = "Intrusion detection sensors";

// Both scales have six steps, in opposite directions; off maps to a threshold above all levels.
constexpr int opposite(int levelOrThreshold)
{
    return kNothing - levelOrThreshold;
}
static_assert(opposite(static_cast<int>(Level::resource)) == DLT_LOG_FATAL);
static_assert(opposite(static_cast<int>(Level::milestone)) == DLT_LOG_INFO);
static_assert(opposite(static_cast<int>(Level::detail)) == DLT_LOG_VERBOSE);
static_assert(opposite(DLT_LOG_OFF) == kNothing);

// The library cancels its thread at the end; our code and the standard library do not support cancellation.
class Uncancellable
{
public:
    Uncancellable() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_before); }
    ~Uncancellable() { pthread_setcancelstate(m_before, nullptr); }
    Uncancellable(const Uncancellable&) = delete;
    Uncancellable& operator=(const Uncancellable&) = delete;

private:
    int m_before = 0;
};

std::vector<std::string> channelsOfTheViewer()
{
    std::vector<std::string> names;
    for (const auto* channel = firstChannel(); channel != nullptr; channel = channel->next()) {
        if (channel->reaches(viewer)) {
            names.emplace_back(channel->name());
        }
    }
    return names;
}

bool isTrusted(uid_t user)
{
    return user == 0 || user == geteuid();
}

bool isOurGroup(gid_t group)
{
    std::vector<gid_t> ours(static_cast<std::size_t>(std::max(getgroups(0, nullptr), 0)));
    const int count = getgroups(static_cast<int>(ours.size()), ours.data());
    return group == getegid() || std::count(ours.begin(), ours.begin() + std::max(count, 0), group) > 0;
}

} // namespace

DltSink& DltSink::instance()
{
    static auto& sink = *new DltSink;
    return sink;
}

bool DltSink::link(Command onCommand)
{
    dlt_log_init(DLT_LOG_DROPPED); // otherwise the library writes its own messages to standard output
    if (dlt_init() < DLT_RETURN_OK || dlt_register_app(kApplication, kDescription) < DLT_RETURN_OK) {
        return false;
    }
    dlt_set_resend_timeout_atexit(0);

    m_onCommand = std::move(onCommand);
    const auto ids = dltContextIds(channelsOfTheViewer());
    for (const auto& [channel, id] : ids) {
        std::copy_n(id.begin(), DLT_ID_SIZE, m_contexts[channel].id.begin());
    }
    for (const auto& [channel, id] : ids) {
        registerContext(channel, id);
    }
    const std::lock_guard lock{m_mutex};
    m_linked = true;
    setSink(viewer, this);
    return true;
}

void DltSink::registerContext(const std::string& channel, const std::string& id)
{
    // The library's threshold until the DLT daemon has sent its level.
    setViewerThreshold(channel, opposite(DLT_LOG_INFO));
    auto& handle = m_contexts.find(channel)->second.handle;
    dlt_register_context_llccb(&handle, id.c_str(), channel.c_str(), &DltSink::onLogLevel);
    if (m_onCommand) {
        dlt_register_injection_callback(&handle, DltLink::kCommandService, &DltSink::onInjection);
    }
}

void DltSink::unlink()
{
    setSink(viewer, nullptr);
    {
        const std::lock_guard lock{m_mutex};
        m_linked = false;
    }
    dlt_free();
    for (const auto& [channel, context] : m_contexts) {
        setViewerThreshold(channel, kNothing);
    }
}

void DltSink::write(const Line& line) noexcept
{
    const std::lock_guard lock{m_mutex};
    const auto context = m_linked ? m_contexts.find(std::string_view{line.channel}) : m_contexts.end();
    if (context == m_contexts.end()) {
        return;
    }
    const auto level = static_cast<DltLogLevelType>(opposite(static_cast<int>(line.level)));
    DltContextData data{};
    if (dlt_user_log_write_start(&context->second.handle, &data, level) == DLT_RETURN_TRUE) {
        dlt_user_log_write_sized_utf8_string(&data, line.text.data(), static_cast<std::uint16_t>(line.text.size()));
        dlt_user_log_write_finish(&data);
    }
}

// Several channels may share a name, and so a context.
void DltSink::setViewerThreshold(std::string_view name, int threshold)
{
    for (auto* channel = firstChannel(); channel != nullptr; channel = channel->next()) {
        if (channel->name() == name) {
            channel->setViewerThreshold(threshold);
        }
    }
}

void DltSink::onLogLevel(char* contextId, std::uint8_t level, std::uint8_t)
{
    const Uncancellable uncancellable;
    auto& self = instance();
    for (const auto& [channel, context] : self.m_contexts) {
        if (std::equal(context.id.begin(), context.id.end(), contextId) && level < DLT_LOG_MAX) {
            self.setViewerThreshold(channel, opposite(level));
        }
    }
}

int DltSink::onInjection(std::uint32_t, void* data, std::uint32_t size)
{
    const Uncancellable uncancellable;
    const std::string_view text{static_cast<const char*>(data), size};
    try {
        instance().m_onCommand(std::string{text.substr(0, text.find('\0'))});
    } catch (...) {
        return -1; // no exception may unwind through the library
    }
    return 0;
}

DltLink::DltLink(Command onCommand) : m_made{DltSink::instance().link(std::move(onCommand))} {}

DltLink::~DltLink()
{
    DltSink::instance().unlink();
}

std::string DltLink::endpoint()
{
    const char* const directory = std::getenv("DLT_PIPE_DIR");
    return std::string{directory != nullptr ? directory : "/tmp"} + "/dlt";
}

// Any account may create a file at the endpoint, to read the log or to have the daemon fill a file.
bool DltLink::endpointIsThere()
{
    const auto pipe = endpoint();
    const auto folder = pipe + "pipes"; // the library creates our pipe there
    struct stat ofPipe;
    struct stat ofFolder;
    return lstat(pipe.c_str(), &ofPipe) == 0 && S_ISFIFO(ofPipe.st_mode) && (ofPipe.st_mode & S_IWOTH) == 0 &&
           (isTrusted(ofPipe.st_uid) || isOurGroup(ofPipe.st_gid)) && access(pipe.c_str(), W_OK) == 0 &&
           lstat(folder.c_str(), &ofFolder) == 0 && S_ISDIR(ofFolder.st_mode) &&
           (isTrusted(ofFolder.st_uid) || ofFolder.st_uid == ofPipe.st_uid);
}

} // namespace tracing

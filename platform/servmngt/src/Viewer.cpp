#include "Viewer.h"

#include <cstring>
#include <utility>

#include "comm/EventLoop.h"
#include "tracing/Channel.h"

namespace servmngt {
namespace {

constexpr char kLabel[] = "servmngt::Viewer";

tracing::Channel s_channel{"CON_COMM", 7, 2};

} // namespace

Viewer::Viewer(tracing::DltLink::Command onCommand) : m_onCommand{std::move(onCommand)} {}

Viewer::~Viewer()
{
    sd_event_source_unref(m_folder);
}

// The endpoint gets its access rights after it has been made. Looked for only when it is already watched for, or it
// could come in between.
void Viewer::watch(sd_event* event)
{
    const auto endpoint = tracing::DltLink::endpoint();
    if (endpoint.empty() || m_link) {
        return;
    }
    const auto folder = endpoint.substr(0, endpoint.rfind('/') + 1);
    const int error = sd_event_add_inotify(event, &m_folder, folder.c_str(), IN_CREATE | IN_MOVED_TO | IN_ATTRIB,
                                           &Viewer::onFile, this);
    if (error < 0) {
        TRACE(s_channel, warning, kLabel, "no DLT daemon is waited for in %s: %s", folder.c_str(),
              std::strerror(-error));
    }
    linkIfThere();
}

int Viewer::onFile(sd_event_source*, const inotify_event*, void* userdata)
{
    comm::guarded([userdata] {
        static_cast<Viewer*>(userdata)->linkIfThere();
        return 0;
    });
    return 0;
}

void Viewer::linkIfThere()
{
    if (!tracing::DltLink::endpointIsThere()) {
        return;
    }
    m_link.emplace(m_onCommand);
    m_folder = sd_event_source_disable_unref(m_folder);
    if (!m_link->made()) {
        TRACE(s_channel, warning, kLabel, "the DLT daemon at %s cannot be reached",
              tracing::DltLink::endpoint().c_str());
        return;
    }
    TRACE(s_channel, milestone, kLabel, "the log goes to the DLT daemon at %s", tracing::DltLink::endpoint().c_str());
    if (m_onCommand) {
        TRACE(s_channel, warning, kLabel, "test commands are offered to whoever reaches the DLT daemon");
    }
}

} // namespace servmngt

#pragma once

#include "comm/ActiveObject.h"
#include "servmngt/Application.h"

namespace servmngt {

/// Prepares the process: blocks SIGTERM, SIGINT and SIGUSR1 in all threads until startApp reads them, and ignores
/// SIGPIPE. Must be called before the first thread is created.
///
/// Options of the platform among the arguments: --test-commands, --help, --version.
void init(int argc, char** argv);

/// When the process was started with --test-commands: offers them on the bus for the rest of the process' life, and to
/// viewers of the log while startApp runs.
void offerTestCommands(const comm::FactoryPtr& factory);

/// Runs an application: initialises it, runs it, reports READY, notifies the watchdog, and waits. SIGTERM and SIGINT
/// stop the application and end the loop, SIGUSR1 requests a persistence flush. Without a service manager only the
/// reports are missing. While the loop runs, the log is linked to a DLT daemon if there is one.
///
/// Returns true on error: the initialisation failed, an argument is unknown or the loop failed (the reason is in
/// ipl::ErrorStorage).
bool startApp(int argc, char** argv, Application& application, const char* processName, IApplicationInit* initIf);

} // namespace servmngt

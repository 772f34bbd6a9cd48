#pragma once

#include "comm/ActiveObject.h"
#include "servmngt/Application.h"

namespace servmngt {

/// Prepares the process for the service manager: from here on SIGTERM, SIGINT and SIGUSR1 wait for startApp on every
/// thread, and a broken pipe is an error value and no signal. To be called before the first thread is made.
///
/// Options of the platform among the arguments: --test-commands, --help, --version.
void init(int argc, char** argv);

/// When the process was started with --test-commands: offers them on the bus for the rest of the process' life, and to
/// viewers of the log while startApp runs.
void offerTestCommands(const comm::FactoryPtr& factory);

/// Runs an application: initialises it, runs it, reports READY, answers the watchdog, and waits. SIGTERM and SIGINT
/// stop the application and end the loop, SIGUSR1 asks it for a persistence flush. Started by hand, without a service
/// manager, all this is the same but for the reports. Meanwhile the log is linked to the DLT daemon when there is one.
///
/// Returns true on error: the initialisation failed, an argument was not understood or the loop could not be made (the
/// reason is in ipl::ErrorStorage).
bool startApp(int argc, char** argv, Application& application, const char* processName, IApplicationInit* initIf);

} // namespace servmngt

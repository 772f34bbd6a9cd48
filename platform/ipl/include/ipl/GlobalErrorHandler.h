#pragma once

namespace ipl {

/// The two ends of the road: memory that cannot be had, and a state that must not be. Both can be replaced, which is
/// how a test looks at the paths that lead here.
class GlobalErrorHandler
{
public:
    /// Where an error was noticed. The source path and line are fixed texts that support tools search for, so they are
    /// given by the caller and not taken from the compiler.
    struct Place
    {
        const char* file;
        int line;
        const char* function;
    };

    using OutOfMemHandler = void (*)(const Place&, const char* message);
    using FatalHandler = void (*)(const Place&, const char* expression, const char* message);

    /// Reports an allocation that failed and returns, so that the caller can try again. The default handler writes one
    /// line to the standard error stream and gives the rest of the system 10 ms to release memory.
    static void doOutOfMem(const char* file, int line, const char* function, const char* message);

    /// Reports a broken assertion. The default handler writes one line and aborts the process; a replaced handler may
    /// throw, but not return.
    [[noreturn]] static void doFatalAssert(const char* expression, const char* file, int line, const char* function,
                                           const char* message);

    /// Reports an error without an expression that the process cannot go on from; as doFatalAssert.
    [[noreturn]] static void doFatalError(const char* file, int line, const char* function, const char* message);

    /// Replaces a handler and returns the one before; null restores the default.
    static OutOfMemHandler setOutOfMemHandler(OutOfMemHandler handler);
    static FatalHandler setFatalHandler(FatalHandler handler);
};

} // namespace ipl

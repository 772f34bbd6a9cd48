#pragma once

namespace ipl {

/// Handlers for a failed allocation and for a broken invariant. Both can be replaced, so that tests can exercise these
/// paths.
class GlobalErrorHandler
{
public:
    /// Where an error was detected. Support tools search for the source path and line, so the caller gives fixed values
    /// instead of the compiler's.
    struct Place
    {
        const char* file;
        int line;
        const char* function;
    };

    using OutOfMemHandler = void (*)(const Place&, const char* message);
    using FatalHandler = void (*)(const Place&, const char* expression, const char* message);

    /// Reports a failed allocation and returns, so that the caller can retry. The default handler writes one line to
    /// standard error and sleeps for 10 ms, so that memory may be released meanwhile.
    static void doOutOfMem(const char* file, int line, const char* function, const char* message);

    /// Reports a broken assertion. The default handler writes one line and aborts the process; a replaced handler may
    /// throw but must not return.
    [[noreturn]] static void doFatalAssert(const char* expression, const char* file, int line, const char* function,
                                           const char* message);

    /// Reports a fatal error without an expression; as doFatalAssert.
    [[noreturn]] static void doFatalError(const char* file, int line, const char* function, const char* message);

    /// Replaces a handler and returns the previous one; null restores the default.
    static OutOfMemHandler setOutOfMemHandler(OutOfMemHandler handler);
    static FatalHandler setFatalHandler(FatalHandler handler);
};

} // namespace ipl

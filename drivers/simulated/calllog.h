#pragma once

#include <initializer_list>
#include <string>

/// An argument as the log shows it: numbers in decimal (a bool is 0 or 1), addresses and the bytes
/// of buffers in hexadecimal, texts in double quotes.
class LoggedArgument {
public:
    LoggedArgument(const char* name, long long value);
    LoggedArgument(const char* name, const void* address);
    LoggedArgument(const char* name, const char* text);
    LoggedArgument(const char* name, const void* data, long long length);

    const std::string& text() const { return m_text; }

private:
    std::string m_text;
};

/// Appends one line to the file that KESTRUNE_DRIVER_LOG named when the library was first called,
/// and has it written out before it returns. Any thread.
void logCall(const char* entryPoint, std::initializer_list<LoggedArgument> arguments = {});

#include "drivers/simulated/calllog.h"

#include "drivers/capture/capture.h"
#include "drivers/capture/captureformat.h"
#include "drivers/environment.h"

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <memory>

namespace {

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

File openLog() {
    const std::string path = fromEnvironment("KESTRUNE_DRIVER_LOG");
    File file(path.empty() ? nullptr : std::fopen(path.c_str(), "ae"), std::fclose);
    if (!path.empty() && !file)
        complain("simulated", path + ": " + std::strerror(errno));
    return file;
}

std::string named(const char* name, const std::string& value) {
    return std::string(name) + '=' + value;
}

} // namespace

LoggedArgument::LoggedArgument(const char* name, long long value)
    : m_text(named(name, std::to_string(value))) {}

LoggedArgument::LoggedArgument(const char* name, const void* address) {
    const auto number = reinterpret_cast<std::uintptr_t>(address);
    unsigned char bytes[sizeof number];
    for (std::size_t i = 0; i < sizeof number; ++i)
        bytes[i] = static_cast<unsigned char>(number >> 8 * (sizeof number - 1 - i));
    m_text = named(name, "0x" + toHex(bytes, sizeof bytes));
}

LoggedArgument::LoggedArgument(const char* name, const char* text)
    : m_text(named(name, text == nullptr ? "null" : '"' + captureformat::escaped(text) + '"')) {}

LoggedArgument::LoggedArgument(const char* name, const void* data, long long length)
    : m_text(named(name, data == nullptr ? "null"
                                         : toHex(static_cast<const unsigned char*>(data),
                                                 length < 0 ? 0 : std::size_t(length)))) {}

void logCall(const char* entryPoint, std::initializer_list<LoggedArgument> arguments) {
    static const File file = openLog();
    if (!file)
        return;
    std::string line = entryPoint;
    for (const LoggedArgument& argument : arguments)
        line += ' ' + argument.text();
    line += '\n';
    std::fwrite(line.data(), 1, line.size(), file.get()); // which other threads do not come between
    std::fflush(file.get());
}

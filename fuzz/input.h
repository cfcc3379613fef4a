#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

/// The bytes of one input, taken from front to back. Beyond their end there are only zeros, so any
/// bytes are an input. They outlive this.
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : m_next(data), m_end(data + size) {}

    bool isEmpty() const { return m_next == m_end; }
    int byte() { return isEmpty() ? 0 : *m_next++; }
    bool flag() { return (byte() & 1) != 0; }
    int word() { ///< 0 to 65535, the low byte first
        const int low = byte();
        return low | byte() << 8;
    }
    std::int32_t number() {
        const auto low = static_cast<std::uint32_t>(word());
        return static_cast<std::int32_t>(low | static_cast<std::uint32_t>(word()) << 16);
    }
    std::string bytes(int count) { ///< as many as there are, at most
        const auto taken = std::min<std::ptrdiff_t>(count, m_end - m_next);
        const std::string text(reinterpret_cast<const char*>(m_next),
                               static_cast<std::size_t>(taken));
        m_next += taken;
        return text;
    }

private:
    const std::uint8_t* m_next;
    const std::uint8_t* m_end;
};

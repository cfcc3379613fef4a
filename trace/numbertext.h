#pragma once

// Numbers as text, for what writes millions of them: inline, and so part of its loop.

#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>

/// What an append below may write over, beyond the end that it returns too.
constexpr std::size_t kNumberRoom = 24;

namespace numbertext {

// Digits are handled together, as the bytes of an integer with the first digit lowest.
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "the first digit is the lowest byte");

inline constexpr std::uint64_t kZeros = 0x3030303030303030; // "00000000"

// Six digits, the longest a stream writes by default: a value is scaled to have them before its
// point, and what comes after the point is rounded away.
inline constexpr int kDigits = 6;
inline constexpr std::uint32_t kDigitsEnd = 1000000;

inline constexpr int kMaxPower = 22;
inline constexpr double kPowersOfTen[] = {
    1e-22, 1e-21, 1e-20, 1e-19, 1e-18, 1e-17, 1e-16, 1e-15, 1e-14, 1e-13, 1e-12, 1e-11,
    1e-10, 1e-9,  1e-8,  1e-7,  1e-6,  1e-5,  1e-4,  1e-3,  1e-2,  1e-1,  1e0,   1e1,
    1e2,   1e3,   1e4,   1e5,   1e6,   1e7,   1e8,   1e9,   1e10,  1e11,  1e12,  1e13,
    1e14,  1e15,  1e16,  1e17,  1e18,  1e19,  1e20,  1e21,  1e22};
static_assert(std::size(kPowersOfTen) == 2 * kMaxPower + 1);

constexpr double power_of_ten(int power) {
    return kPowersOfTen[power + kMaxPower];
}

// Where the table holds the scale, 10^(kDigits - 1 - exponent), and the next power.
inline constexpr double kLeastScalable = 1e-16;
inline constexpr double kScalableEnd = 1e22;

// The scale and the product are each off by 2^-53 of themselves at most, so a scaled value, below
// 2^20, is off by less than 2^-31: only what is nearer than that to a half can round wrongly.
inline constexpr double kNearAHalf = 0x1p-30;

// Whether value * 10^power, which is next to number + 0.5, rounds up from `number`; half to even.
// Powers up to kMaxPower are exact, and a fused product has the sign of the exact difference.
inline bool rounds_up(double value, int power, std::uint32_t number) {
    const double half = number + 0.5;
    const double above = power >= 0 ? std::fma(value, power_of_ten(power), -half)
                                    : -std::fma(half, power_of_ten(-power), -value);
    return above > 0.0 || (above == 0.0 && number % 2 == 1);
}

inline char* append_by_library(char* out, double value) {
    return std::to_chars(out, out + kNumberRoom - 1, value, std::chars_format::general, kDigits)
        .ptr;
}

// floor(log10(value)) of a scalable value, from its binary exponent: 1233 / 4096 is log10(2) to
// five digits, and a power of two spans at most one power of ten.
inline int decimal_exponent(double value) {
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof(bits));
    const int binary = static_cast<int>(bits >> 52) - 1023;
    const int decimal = (binary * 1233) >> 12;
    return decimal + (value >= power_of_ten(decimal + 1) ? 1 : 0);
}

// The digits of four pairs, each a number up to 99 in 16 bits, as bytes.
inline std::uint64_t split_pairs(std::uint64_t pairs) {
    const std::uint64_t tens = ((pairs * 103) >> 10) & 0x000f000f000f000f;
    return tens | ((pairs - tens * 10) << 8);
}

// The six digits of a number below 10^6, followed by two zero bytes.
inline std::uint64_t six_digits(std::uint32_t number) {
    const std::uint32_t high = number / 10000;
    const std::uint32_t middle = number / 100 % 100;
    const std::uint32_t low = number % 100;
    return split_pairs(high | middle << 16 | std::uint64_t{low} << 32);
}

inline char* append_chars(char* out, std::uint64_t chars, int count) {
    std::memcpy(out, &chars, sizeof(chars));
    return out + count;
}

// Without leading zeros; `number` is below 10^6.
inline char* append_whole(char* out, std::uint32_t number) {
    const std::uint64_t digits = six_digits(number);
    const int leading = __builtin_ctzll(digits | std::uint64_t{1} << 40) / 8; // the last one stays
    return append_chars(out, (digits | kZeros) >> (8 * leading), kDigits - leading);
}

} // namespace numbertext

/// Writes `value` at `out` in the bytes that an output stream has for it in its default format and
/// the "C" locale (six significant digits, no trailing zeros, "inf", "-nan") and returns their end,
/// without a terminating zero. `out` has kNumberRoom.
inline char* append_double(char* out, double value) {
    using namespace numbertext;

    *out = '-';
    out += std::signbit(value) ? 1 : 0;
    const double magnitude = std::abs(value);
    if (magnitude < kDigitsEnd) {
        const auto whole = static_cast<std::uint32_t>(magnitude);
        if (whole == magnitude)
            return append_whole(out, whole);
    }
    if (!(magnitude >= kLeastScalable && magnitude < kScalableEnd))
        return append_by_library(out, magnitude);

    int exponent = decimal_exponent(magnitude);
    const int power = kDigits - 1 - exponent;
    const double scaled = magnitude * power_of_ten(power);
    auto number = static_cast<std::uint32_t>(scaled);
    const double rest = scaled - number;
    const bool up =
        std::abs(rest - 0.5) < kNearAHalf ? rounds_up(magnitude, power, number) : rest > 0.5;
    number += up ? 1 : 0;
    if (number == kDigitsEnd) {
        number /= 10;
        ++exponent;
    }

    const std::uint64_t digits = six_digits(number);
    const int count = 8 - __builtin_clzll(digits) / 8; // without trailing zeros
    const std::uint64_t chars = digits | kZeros;

    if (exponent >= 0 && exponent < kDigits) {
        const int whole = exponent + 1;
        append_chars(out, chars, 8);
        out[whole] = '.';
        append_chars(out + whole + 1, chars >> (8 * whole), 8);
        return out + (count > whole ? count + 1 : whole);
    }
    if (exponent < 0 && exponent >= -4) {
        constexpr char kStart[] = {'0', '.', '0', '0', '0'};
        std::memcpy(out, kStart, sizeof(kStart));
        return append_chars(out + 1 - exponent, chars, count);
    }
    *out = static_cast<char>(chars);
    out[1] = '.';
    append_chars(out + 2, chars >> 8, 8);
    out += count > 1 ? count + 1 : 1;
    *out++ = 'e';
    *out++ = exponent < 0 ? '-' : '+';
    const int size = std::abs(exponent);
    *out++ = static_cast<char>('0' + size / 10);
    *out++ = static_cast<char>('0' + size % 10);
    return out;
}

/// Writes decimal integers that follow each other closely, like the times of a trace: it keeps the
/// text of all but the last four digits for as long as those stay the same.
class IntegerText {
public:
    /// As append_double.
    char* append(char* out, std::int64_t value);

private:
    std::uint64_t m_upper = 0; // the value that m_text has: one without its last four digits
    char m_text[16] = {};      // fifteen digits at most
    std::ptrdiff_t m_size = 0;
};

inline char* IntegerText::append(char* out, std::int64_t value) {
    using namespace numbertext;

    constexpr std::uint64_t kLower = 10000;
    const auto number = static_cast<std::uint64_t>(value);
    const std::uint64_t upper = number / kLower;
    if (value < 0 || upper == 0)
        return std::to_chars(out, out + kNumberRoom, value).ptr;
    if (upper != m_upper) {
        m_upper = upper;
        m_size = std::to_chars(m_text, m_text + sizeof(m_text), upper).ptr - m_text;
    }
    std::memcpy(out, m_text, sizeof(m_text));
    const std::uint64_t lower = number - upper * kLower;
    const std::uint64_t hundreds = lower / 100;
    const std::uint64_t digits = split_pairs(hundreds | (lower - hundreds * 100) << 16);
    return append_chars(out + m_size, digits | kZeros, 4);
}

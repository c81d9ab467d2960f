#include "numberText.h"

#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <istream>
#include <limits>
#include <locale>
#include <streambuf>

namespace TESK_ZAN
{

namespace
{

__extension__ using u128 = unsigned __int128;

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

const char* skipSpace(const char* p, const char* end)
{
    while (p != end && isSpace(*p))
        ++p;
    return p;
}

// ---- reading ----

// What the characters of a number say, collected in one walk. value = mantissa * 10^exp10 if bExact.
struct Scanned {
    std::uint64_t mantissa = 0;
    int exp10 = 0;
    bool bNegative = false;
    bool bExact = false;      // all digits are in mantissa, and exp10 is not cut off
    bool bWellFormed = false; // at least one digit, and one behind the "e" if there is one
    const char* first;        // behind the sign
    const char* last;         // behind the number
};

// Digits as long as they fit; the rest only counts. Returns the place behind them.
const char* scanDigits(const char* p, const char* end, std::uint64_t& mantissa, bool& bOverflow)
{
    constexpr std::uint64_t MAX_MANTISSA = std::numeric_limits<std::uint64_t>::max() / 10 - 1;
    for (; p != end && isDigit(*p); ++p) {
        if (mantissa > MAX_MANTISSA)
            bOverflow = true;
        else
            mantissa = 10 * mantissa + std::uint64_t(*p - '0');
    }
    return p;
}

// The exponent behind an "e". False without a digit.
bool scanExponent(const char*& p, const char* end, int& exponent)
{
    constexpr int LIMIT = 100000; // beyond it the value is zero or too large, whatever the digits are
    const bool bNegative = p != end && *p == '-';
    if (p != end && (*p == '-' || *p == '+'))
        ++p;
    const char* first = p;
    int value = 0;
    for (; p != end && isDigit(*p); ++p)
        if (value < LIMIT)
            value = 10 * value + (*p - '0');
    exponent = bNegative ? -value : value;
    return p != first;
}

// Takes exactly the characters that a stream takes for a number: sign, digits with at most one point, and,
// behind a digit, an exponent. Whether they form a number is decided afterwards.
Scanned scanFloating(const char* p, const char* end)
{
    Scanned s;
    s.bNegative = p != end && *p == '-';
    if (p != end && (*p == '-' || *p == '+'))
        ++p;
    s.first = p;
    bool bOverflow = false;
    p = scanDigits(p, end, s.mantissa, bOverflow);
    std::ptrdiff_t numDigits = p - s.first;
    std::ptrdiff_t numDecimals = 0;
    if (p != end && *p == '.') {
        const char* behindPoint = ++p;
        p = scanDigits(p, end, s.mantissa, bOverflow);
        numDecimals = p - behindPoint;
        numDigits += numDecimals;
    }
    s.bWellFormed = numDigits > 0;
    int exponent = 0;
    if (numDigits > 0 && p != end && (*p == 'e' || *p == 'E'))
        s.bWellFormed = scanExponent(++p, end, exponent);
    s.last = p;
    s.bExact = !bOverflow && numDecimals < 1000;
    s.exp10 = s.bExact ? exponent - int(numDecimals) : 0;
    return s;
}

constexpr double DOUBLE_POWERS[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                    1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
constexpr float FLOAT_POWERS[] = {1e0f, 1e1f, 1e2f, 1e3f, 1e4f, 1e5f, 1e6f, 1e7f, 1e8f, 1e9f, 1e10f};

template <class T>
struct ExactRange;
template <>
struct ExactRange<double> {
    static constexpr const double* POWERS = DOUBLE_POWERS;
    static constexpr int MAX_POWER = 22;
    static constexpr std::uint64_t MAX_MANTISSA = std::uint64_t(1) << 53;
};
template <>
struct ExactRange<float> {
    static constexpr const float* POWERS = FLOAT_POWERS;
    static constexpr int MAX_POWER = 10;
    static constexpr std::uint64_t MAX_MANTISSA = std::uint64_t(1) << 24;
};

// Both the mantissa and the power of ten are exact in T, so that one operation rounds once: the result is the
// nearest value (Clinger's fast path).
template <class T>
bool convertExact(const Scanned& s, T& value)
{
    using Range = ExactRange<T>;
    if (!s.bExact || s.mantissa > Range::MAX_MANTISSA || s.exp10 > Range::MAX_POWER ||
        s.exp10 < -Range::MAX_POWER)
        return false;
    const T mantissa = T(s.mantissa);
    const T result = s.exp10 < 0 ? mantissa / Range::POWERS[-s.exp10] : mantissa * Range::POWERS[s.exp10];
    value = s.bNegative ? -result : result;
    return true;
}

// The stream's own answer, for what the fast ways leave open: results at the ends of the range.
template <class T>
bool convertByStream(const char* p, const char* end, T& value)
{
    struct View : std::streambuf {
        View(const char* p, const char* end)
        {
            char* first = const_cast<char*>(p); // a streambuf that only reads does not write
            setg(first, first, const_cast<char*>(end));
        }
    };
    View view(p, end);
    std::istream in(&view);
    in.imbue(std::locale::classic());
    T result;
    if (!(in >> result))
        return false;
    value = result;
    return true;
}

template <class T>
const char* extractFloating(const char* p, const char* end, T& value)
{
    const char* first = skipSpace(p, end);
    const Scanned s = scanFloating(first, end);
    if (!s.bWellFormed)
        return nullptr;
    if (convertExact(s, value))
        return s.last;
    T result;
    const auto [ptr, ec] = std::from_chars(s.first, s.last, result);
    if (ec == std::errc() && ptr == s.last && std::isfinite(result)) {
        value = s.bNegative ? -result : result;
        return s.last;
    }
    return convertByStream(first, s.last, value) ? s.last : nullptr;
}

// Sign and digits, as a magnitude. Null without digits or beyond 64 bits.
const char* scanInteger(const char* p, const char* end, bool& bNegative, std::uint64_t& magnitude)
{
    p = skipSpace(p, end);
    bNegative = p != end && *p == '-';
    if (p != end && (*p == '-' || *p == '+'))
        ++p;
    bool bOverflow = false;
    magnitude = 0;
    const char* last = scanDigits(p, end, magnitude, bOverflow);
    return last == p || bOverflow ? nullptr : last;
}

// ---- writing ----

constexpr int MAX_PRECISION = 18;

template <size_t N>
constexpr std::array<std::uint64_t, N> powersOf(std::uint64_t base)
{
    std::array<std::uint64_t, N> a{};
    a[0] = 1;
    for (size_t i = 1; i < N; ++i)
        a[i] = base * a[i - 1];
    return a;
}

constexpr auto POWERS_OF_5 = powersOf<23>(5);
constexpr auto POWERS_OF_10 = powersOf<19>(10);

// The decimal form that is asked for: digits * 10^(exponent - precision + 1), digits having exactly
// `precision` places.
struct Decimal {
    std::uint64_t digits;
    int exponent;
};

constexpr int MIN_FIXED_EXPONENT = -4; // below it, and from `precision` on, the text is scientific

// m * 5^k * 2^shift, rounded to the nearest integer, ties to even. m < 2^53, 5^k < 2^53, and the result fits.
std::uint64_t scaled(std::uint64_t m, int k, int shift)
{
    const u128 product = u128(m) * POWERS_OF_5[size_t(k)];
    if (shift >= 0)
        return std::uint64_t(product << shift);
    const u128 one = u128(1) << -shift;
    const u128 rest = product & (one - 1);
    std::uint64_t result = std::uint64_t(product >> -shift);
    const u128 half = one >> 1;
    if (rest > half || (rest == half && (result & 1) != 0))
        ++result;
    return result;
}

// Exact in 128 bits for all values that are written without exponent. False for the others, zero included.
bool toDecimal(double magnitude, int precision, Decimal& result)
{
    if (!(magnitude >= 1e-4 && magnitude < 1e18))
        return false;
    const std::uint64_t bits = std::bit_cast<std::uint64_t>(magnitude);
    const int exp2 = int(bits >> 52) - 1075; // normal numbers only, here
    const std::uint64_t m = (bits & ((std::uint64_t(1) << 52) - 1)) | (std::uint64_t(1) << 52);

    // log10(2) = 78913 / 2^18 closely enough: the first exponent is at most one too low, which its try shows.
    int exponent = ((exp2 + 52) * 78913) >> 18;
    for (;; ++exponent) {
        const int k = precision - 1 - exponent;
        if (k < 0)
            return false;
        const std::uint64_t digits = scaled(m, k, exp2 + k);
        if (digits < POWERS_OF_10[size_t(precision)]) {
            result = {digits, exponent};
            return exponent >= MIN_FIXED_EXPONENT;
        }
    }
}

constexpr std::array<char, 200> DIGIT_PAIRS = [] {
    std::array<char, 200> a{};
    for (size_t i = 0; i < 100; ++i) {
        a[2 * i] = char('0' + i / 10);
        a[2 * i + 1] = char('0' + i % 10);
    }
    return a;
}();

// Writes the last num digits of value in front of end.
void digitsBefore(char* end, std::uint64_t value, int num)
{
    for (; num > 1; num -= 2) {
        end -= 2;
        std::memcpy(end, &DIGIT_PAIRS[2 * (value % 100)], 2);
        value /= 100;
    }
    if (num == 1)
        end[-1] = char('0' + value % 10);
}

// Fixed notation without trailing zeros.
char* printDecimal(char* p, const Decimal& d, int precision)
{
    char digits[MAX_PRECISION];
    digitsBefore(digits + precision, d.digits, precision);
    int numDigits = precision;
    while (numDigits > 1 && digits[numDigits - 1] == '0')
        --numDigits;

    const int numBeforePoint = d.exponent + 1;
    if (numBeforePoint <= 0) {
        std::memcpy(p, "0.000", 5);
        p += 2 - numBeforePoint;
        std::memcpy(p, digits, size_t(numDigits));
        return p + numDigits;
    }
    // Places before the point exist even where they are trailing zeros, since precision > exponent.
    std::memcpy(p, digits, size_t(numBeforePoint));
    p += numBeforePoint;
    if (numDigits <= numBeforePoint)
        return p;
    *p++ = '.';
    std::memcpy(p, digits + numBeforePoint, size_t(numDigits - numBeforePoint));
    return p + (numDigits - numBeforePoint);
}

} // namespace

const char* extractNumber(const char* p, const char* end, double& value)
{
    return extractFloating(p, end, value);
}

const char* extractNumber(const char* p, const char* end, float& value)
{
    return extractFloating(p, end, value);
}

const char* extractNumber(const char* p, const char* end, int& value)
{
    bool bNegative;
    std::uint64_t magnitude;
    const char* last = scanInteger(p, end, bNegative, magnitude);
    constexpr std::uint64_t MAX_INT = std::uint64_t(std::numeric_limits<int>::max());
    if (last == nullptr || magnitude > MAX_INT + (bNegative ? 1 : 0))
        return nullptr;
    value = int(bNegative ? -std::int64_t(magnitude) : std::int64_t(magnitude));
    return last;
}

const char* extractNumber(const char* p, const char* end, unsigned& value)
{
    bool bNegative;
    std::uint64_t magnitude;
    const char* last = scanInteger(p, end, bNegative, magnitude);
    if (last == nullptr || magnitude > std::numeric_limits<unsigned>::max())
        return nullptr;
    value = unsigned(bNegative ? 0 - magnitude : magnitude);
    return last;
}

char* printNumber(char* p, double value, int precision)
{
    Decimal decimal;
    if (toDecimal(std::fabs(value), precision, decimal)) {
        if (value < 0.0)
            *p++ = '-';
        return printDecimal(p, decimal, precision);
    }
    return std::to_chars(p, p + MAX_NUMBER_CHARS, value, std::chars_format::general, precision).ptr;
}

std::string numberToText(double value)
{
    constexpr int USUAL_PRECISION = 6;
    char text[MAX_NUMBER_CHARS];
    return {text, printNumber(text, value, USUAL_PRECISION)};
}

} // namespace TESK_ZAN

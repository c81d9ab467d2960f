#include "numberText.h"
#include "random.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <locale>
#include <sstream>
#include <string>

using namespace TESK_ZAN;

namespace
{

// The stream's answer is the definition: same success, same value bit by bit, same number of characters
// taken.
template <class T>
void expectAsStream(const std::string& text)
{
    std::istringstream in(text);
    in.imbue(std::locale::classic());
    T expected{};
    const bool bAccepted = bool(in >> expected);
    in.clear();
    const std::streamoff position = in.tellg();
    const size_t numTaken = position < 0 ? text.size() : size_t(position);

    T value{};
    const char* p = extractNumber(text.data(), text.data() + text.size(), value);
    ASSERT_EQ(p != nullptr, bAccepted) << "[" << text << "]";
    if (!bAccepted)
        return;
    EXPECT_EQ(std::memcmp(&value, &expected, sizeof(T)), 0)
        << "[" << text << "] " << value << " " << expected;
    EXPECT_EQ(size_t(p - text.data()), numTaken) << "[" << text << "]";
}

void expectAllAsStream(const std::string& text)
{
    expectAsStream<double>(text);
    expectAsStream<float>(text);
    expectAsStream<int>(text);
    expectAsStream<unsigned>(text);
}

std::string randomText(Random& random, const std::string& alphabet, std::uint32_t maxLength)
{
    std::string text;
    for (std::uint32_t n = 1 + random.below(maxLength); n > 0; --n)
        text += alphabet[random.below(std::uint32_t(alphabet.size()))];
    return text;
}

TEST(NumberText, readsTheOddFormsAsAStreamDoes)
{
    for (const char* text : {"",
                             " ",
                             "+5",
                             "-5",
                             "+-5",
                             "-",
                             "+",
                             ".",
                             "1.",
                             ".5",
                             "-.5",
                             "1.5abc",
                             "1e",
                             "1e+",
                             "1e5",
                             "1E-5",
                             "1e5.3",
                             "1.2.3",
                             "1-2",
                             ".e5",
                             "0x10",
                             "007",
                             "00.50",
                             "nan",
                             "inf",
                             "-inf",
                             "infinity",
                             "1,5",
                             "1\r",
                             "\t\v\f 7",
                             "1e400",
                             "-1e400",
                             "1e-400",
                             "0e999999999999",
                             "1e-999999999999",
                             "1e999999999999",
                             "2147483647",
                             "2147483648",
                             "-2147483648",
                             "-2147483649",
                             "4294967295",
                             "4294967296",
                             "-1",
                             "-4294967295",
                             "99999999999999999999",
                             "9007199254740993",
                             "3.4028236e38",
                             "1e39",
                             "1e-46",
                             "4.9e-324",
                             "2.4e-324",
                             "2.2250738585072011e-308",
                             "179769313486231580793728971405301e276",
                             "123456789012345678901234567890"})
        expectAllAsStream(text);
}

TEST(NumberText, readsRandomTextsAsAStreamDoes)
{
    Random random(1);
    for (int i = 0; i < 40000; ++i) {
        expectAllAsStream(randomText(random, "0123456789+-.eE x,nif\t\r", 12));
        expectAllAsStream(randomText(random, "0123456789012345678901234567890123456789.-", 30));
        expectAllAsStream(randomText(random, "0123456789.", 20) + "e" +
                          std::to_string(int(random.below(700)) - 350));
    }
}

TEST(NumberText, longTextsCostNoPrecisionAndNoRange)
{
    expectAsStream<double>(std::string(5000, '0') + "1.5");
    expectAsStream<double>("0." + std::string(5000, '0') + "1e5001");
    expectAsStream<double>("1" + std::string(400, '0') + "e-400");
    expectAsStream<double>("0." + std::string(3000, '7'));
    expectAsStream<double>(std::string(400, '9'));
}

std::string asStream(double value, int precision)
{
    std::ostringstream out;
    out.imbue(std::locale::classic());
    out.precision(precision);
    out << value;
    return out.str();
}

void expectPrintedAsStream(double value)
{
    for (int precision : {1, 6, 10, 15, 18}) {
        char text[MAX_NUMBER_CHARS];
        char* end = printNumber(text, value, precision);
        EXPECT_EQ(std::string(text, end), asStream(value, precision)) << "precision " << precision;
    }
}

TEST(NumberText, printsWhereTheFormChangesAsAStreamDoes)
{
    const double max = std::numeric_limits<double>::max();
    for (double value : {0.0,
                         1.0,
                         0.1,
                         100.0,
                         123456.0,
                         1234567.0,
                         999999.0,
                         999999.5,
                         9999995.0,
                         0.0001,
                         0.00012345678,
                         0.000099999999,
                         0.00009999995,
                         99999999999999999.0,
                         1e17,
                         999999999999999999.0,
                         1e18,
                         1e22,
                         0.5,
                         2.5,
                         1.5,
                         1e-300,
                         std::numeric_limits<double>::denorm_min(),
                         max,
                         std::numeric_limits<double>::infinity()}) {
        expectPrintedAsStream(value);
        expectPrintedAsStream(-value);
    }
}

TEST(NumberText, printsRandomNumbersAsAStreamDoes)
{
    Random random(2);
    for (int i = 0; i < 20000; ++i) {
        expectPrintedAsStream(std::bit_cast<double>(random.next()));
        expectPrintedAsStream((random.uniform() - 0.5) * std::pow(10.0, int(random.below(26)) - 6));
        expectPrintedAsStream(double(float(random.uniform() * 1000.0)));
        // short decimals and halves: ties and long runs of nines
        expectPrintedAsStream(double(random.below(2000000)) / std::pow(10.0, int(random.below(8))));
        expectPrintedAsStream(double(random.below(1u << 24)) / double(1u << random.below(20)));
    }
}

struct CommaDecimal : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

TEST(NumberText, theLocaleOfTheProcessHasNoSay)
{
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new CommaDecimal));
    for (const char* text : {"1.5", "1,5", "1.000.000", "1e-400", "2.2250738585072011e-308"})
        expectAsStream<double>(text);
    expectPrintedAsStream(1234567.5);
    expectPrintedAsStream(1e300);
    std::locale::global(before);
}

} // namespace

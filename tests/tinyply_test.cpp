#include "tinyply.h"

#include "helpers/captured.h"
#include "helpers/rawBytes.h"
#include "random.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <vector>

using namespace TESK_ZAN;
using namespace TESK_ZAN::PLY;
using zan_test::bytes;
using zan_test::CapturedMessages;
using zan_test::swappedBytes;

namespace
{

enum class Form { TEXT, LITTLE, BIG };

const char* formatLine(Form form)
{
    return form == Form::TEXT     ? "format ascii 1.0\n"
           : form == Form::LITTLE ? "format binary_little_endian 1.0\n"
                                  : "format binary_big_endian 1.0\n";
}

std::string file(Form form, const std::string& header, const std::string& body)
{
    return std::string("ply\n") + formatLine(form) + header + "end_header\n" + body;
}

template <class T>
std::vector<T> valuesOf(const PlyData& data)
{
    std::vector<T> v(data.buffer.size() / sizeof(T));
    if (!v.empty())
        std::memcpy(v.data(), data.buffer.get(), v.size() * sizeof(T));
    return v;
}

std::string messageOf(const std::function<void()>& f)
{
    try {
        f();
    } catch (const std::exception& e) {
        return e.what();
    }
    return "";
}

// The values that a request for these keys of "e" gives.
template <class T>
std::vector<T> readValues(const std::string& content, const std::vector<std::string>& vKeys, size_t hint = 0)
{
    std::istringstream in(content);
    PlyFile ply;
    EXPECT_TRUE(ply.parseHeader(in));
    const auto pData = ply.requestProperties("e", vKeys, hint);
    ply.read(in);
    return valuesOf<T>(*pData);
}

// Reads with requests that any body of element "e", property "x" can take; what was thrown, or nothing.
std::string readError(const std::string& content, size_t hint = 0)
{
    std::istringstream in(content);
    PlyFile ply;
    return messageOf([&] {
        if (!ply.parseHeader(in))
            throw std::runtime_error("no end_header");
        const auto pData = ply.requestProperties("e", {"x"}, hint);
        ply.read(in);
    });
}

// ---- header ----

TEST(PlyHeader, allLinesArriveAndTheStreamStandsBehindIt)
{
    std::istringstream in(
        "ply\n\nelement vertex 7\nformat binary_little_endian 1.0\r\ncomment two  words\ncomment\n"
        "property float32 x\nproperty double y\nobj_info about it\nobj_info\n"
        "element face 2\nproperty list uchar int vertex_indices\nend_header\nBODY");
    PlyFile ply;
    ASSERT_TRUE(ply.parseHeader(in));
    EXPECT_TRUE(ply.isBinary());
    EXPECT_FALSE(ply.isBigEndian());
    EXPECT_EQ(ply.getComments(), (std::vector<std::string>{"two  words", ""}));
    EXPECT_EQ(ply.getInfos(), (std::vector<std::string>{"about it", ""}));
    ASSERT_EQ(ply.getElements().size(), 2u);
    const PlyElement& vertex = ply.getElements()[0];
    EXPECT_EQ(vertex.name, "vertex");
    EXPECT_EQ(vertex.size, 7u);
    ASSERT_EQ(vertex.vProperties.size(), 2u);
    EXPECT_EQ(vertex.vProperties[0].propertyType, Type::FLOAT32);
    EXPECT_EQ(vertex.vProperties[1].propertyType, Type::FLOAT64);
    const PlyProperty& indices = ply.getElements()[1].vProperties.at(0);
    EXPECT_TRUE(indices.isList);
    EXPECT_EQ(indices.listType, Type::UINT8);
    EXPECT_EQ(indices.propertyType, Type::INT32);
    EXPECT_EQ(indices.name, "vertex_indices");
    std::string rest;
    in >> rest;
    EXPECT_EQ(rest, "BODY");
}

TEST(PlyHeader, anUnknownWordOrTheEndOfTheFileStopsItWithoutABody)
{
    for (const char* text : {"", "ply\n", "ply\nelement e 1\nproperty float x\n",
                             "ply\nelement e 1\nunknown\nend_header\n", "GIF89a\n", "ply\nEND_HEADER\n"}) {
        std::istringstream in(text);
        PlyFile ply;
        EXPECT_FALSE(ply.parseHeader(in)) << text;
    }
}

TEST(PlyHeader, malformedLinesAreNamed)
{
    const auto error = [](const std::string& text) {
        std::istringstream in(text);
        PlyFile ply;
        return messageOf([&] { ply.parseHeader(in); });
    };
    EXPECT_EQ(error("ply\nproperty float x\n"), "no elements defined; file is malformed");
    for (const char* size : {"-1", "abc", "", "1.5", "18446744073709551616", "0x10"})
        EXPECT_NE(
            error(std::string("ply\nelement e ") + size + "\n").find("element e has no valid number of rows"),
            std::string::npos)
            << size;
}

TEST(PlyHeader, endlessHeadersAreRefusedBeforeTheyFillTheMemory)
{
    std::string text = "ply\n";
    for (int i = 0; i < 100000; ++i)
        text += "element a 0\n";
    std::istringstream in(text + "end_header\n");
    PlyFile ply;
    EXPECT_NE(messageOf([&] { ply.parseHeader(in); }).find("the header has more than 100000 lines"),
              std::string::npos);
}

TEST(PlyHeader, bothWordsOfEachTypeAreUnderstood)
{
    const std::vector<std::pair<const char*, const char*>> vWords{
        {"int8", "char"}, {"uint8", "uchar"}, {"int16", "short"},   {"uint16", "ushort"},
        {"int32", "int"}, {"uint32", "uint"}, {"float32", "float"}, {"float64", "double"}};
    const size_t sizes[] = {1, 1, 2, 2, 4, 4, 4, 8};
    for (size_t i = 0; i < vWords.size(); ++i) {
        EXPECT_EQ(typeFromWord(vWords[i].first), Type(i + 1));
        EXPECT_EQ(typeFromWord(vWords[i].second), Type(i + 1));
        EXPECT_EQ(std::string(infoOf(Type(i + 1)).word), vWords[i].second);
        EXPECT_EQ(infoOf(Type(i + 1)).size, sizes[i]);
    }
    for (const char* word : {"", "Float", "INVALID", "long", "list"})
        EXPECT_EQ(typeFromWord(word), Type::INVALID) << word;
}

// ---- requests ----

TEST(PlyRequest, everyMistakeHasItsText)
{
    PlyFile empty;
    EXPECT_EQ(messageOf([&] { empty.requestProperties("e", {"x"}, 0); }),
              "header had no elements defined. malformed file?");
    std::istringstream in(file(Form::TEXT, "element e 1\nproperty float x\nproperty float y\n", "1 2\n"));
    PlyFile ply;
    ASSERT_TRUE(ply.parseHeader(in));
    EXPECT_EQ(messageOf([&] { ply.requestProperties("", {"x"}, 0); }), "`elementKey` argument is empty");
    EXPECT_EQ(messageOf([&] { ply.requestProperties("e", {}, 0); }), "`propertyKeys` argument is empty");
    EXPECT_EQ(messageOf([&] { ply.requestProperties("f", {"x"}, 0); }),
              "the element key was not found in the header: f");
    EXPECT_EQ(messageOf([&] {
                  ply.requestProperties("e", {"a", "x", "b"}, 0);
              }),
              "the following property keys were not found in the header: a, b, ");
    ply.requestProperties("e", {"x"}, 0); // the failed request before left no trace
    EXPECT_EQ(messageOf([&] {
                  ply.requestProperties("e", {"y", "x"}, 0);
              }),
              "element-property key has already been requested: ex");
}

TEST(PlyRequest, valuesComeInTheOrderOfTheRequestAndNotOfTheFile)
{
    const std::string header = "element e 2\nproperty float y\nproperty uchar skipped\nproperty float x\n";
    const std::vector<float> vExpected{1, 2, 3, 4};
    EXPECT_EQ(readValues<float>(file(Form::TEXT, header, "2 9 1\n4 9 3\n"), {"x", "y"}), vExpected);
    EXPECT_EQ(readValues<float>(
                  file(Form::LITTLE, header, bytes(2.0f, std::uint8_t(9), 1.0f, 4.0f, std::uint8_t(9), 3.0f)),
                  {"x", "y"}),
              vExpected);
}

TEST(PlyRequest, propertiesOfDifferentTypesCanNotShareARequest)
{
    std::istringstream in(file(Form::TEXT, "element e 1\nproperty float x\nproperty double y\n", "1 2\n"));
    PlyFile ply;
    ASSERT_TRUE(ply.parseHeader(in));
    EXPECT_EQ(ply.requestProperties("e", {"x", "y"}, 0)->t, Type::INVALID);
}

// ---- bodies ----

// Two rows of a plain value, a skipped list and a wanted list, for one type in one form.
template <class T>
void expectTypeIsRead(const std::string& word, Form form, T a, T b, T c)
{
    const std::string header = "element e 2\nproperty " + word +
                               " x\nproperty list ushort double skip\nproperty list int " + word + " l\n";
    const auto raw = [&](auto... values) {
        return form == Form::BIG ? swappedBytes(values...) : bytes(values...);
    };
    std::ostringstream text;
    text << +a << " 2 7.5 -7 1 " << +b << "\n" << +c << " 0 2 " << +a << "\t" << +c;
    const std::string body = form == Form::TEXT ? text.str()
                                                : raw(a, std::uint16_t(2), 7.5, -7.0, std::int32_t(1), b, c,
                                                      std::uint16_t(0), std::int32_t(2), a, c);
    CapturedMessages captured;
    EXPECT_EQ(readValues<T>(file(form, header, body), {"x"}), (std::vector<T>{a, c})) << word;
    EXPECT_EQ(readValues<T>(file(form, header, body), {"l"}), (std::vector<T>{b, a, c})) << word;
    EXPECT_EQ(captured.has("unhandled type"), form == Form::BIG && sizeof(T) == 1) << word;
}

TEST(PlyBody, everyTypeIsReadInEveryForm)
{
    for (Form form : {Form::TEXT, Form::LITTLE, Form::BIG}) {
        expectTypeIsRead<std::int8_t>("char", form, -128, 127, 1);
        expectTypeIsRead<std::uint8_t>("uchar", form, 255, 0, 2);
        expectTypeIsRead<std::int16_t>("short", form, -32768, 32767, 258);
        expectTypeIsRead<std::uint16_t>("ushort", form, 65535, 0, 258);
        expectTypeIsRead<std::int32_t>("int", form, -2147483647 - 1, 2147483647, 66051);
        expectTypeIsRead<std::uint32_t>("uint", form, 4294967295u, 0, 66051);
        expectTypeIsRead<float>("float", form, -1.5f, 0.25f, 65536.0f);
        expectTypeIsRead<double>("double", form, -1.5, 0.25, 65536.0);
    }
}

TEST(PlyBody, bigEndianBytesBesideWiderValuesDoNotStopTheSwapping)
{
    CapturedMessages captured;
    const std::string body = swappedBytes(std::uint8_t(7), std::int16_t(258), 1.5);
    std::istringstream in(
        file(Form::BIG, "element e 1\nproperty uchar a\nproperty short b\nproperty double c\n", body));
    PlyFile ply;
    ASSERT_TRUE(ply.parseHeader(in));
    const auto pA = ply.requestProperties("e", {"a"}, 0);
    const auto pB = ply.requestProperties("e", {"b"}, 0);
    const auto pC = ply.requestProperties("e", {"c"}, 0);
    ply.read(in);
    EXPECT_EQ(valuesOf<std::uint8_t>(*pA).at(0), 7);
    EXPECT_EQ(valuesOf<std::int16_t>(*pB).at(0), 258);
    EXPECT_EQ(valuesOf<double>(*pC).at(0), 1.5);
    EXPECT_EQ(captured.text(), "unhandled type\n");
}

// Rows with two lists of random length and a value between: what is expected is kept while writing.
struct RandomRows {
    explicit RandomRows(int numRows, std::uint64_t seed, std::uint32_t maxCount)
    {
        Random random(seed);
        header = "element e " + std::to_string(numRows) +
                 "\nproperty list uchar short l\nproperty float x\nproperty list uint uchar m\n";
        std::ostringstream textStream;
        for (int i = 0; i < numRows; ++i) {
            const auto appendList = [&](auto countType, auto type, auto& vTarget) {
                // mostly runs of equal counts, as in real files
                const std::uint32_t count = random.below(10) == 0 ? random.below(maxCount + 1) : 3;
                binary += bytes(decltype(countType)(count));
                textStream << count << ' ';
                for (std::uint32_t k = 0; k < count; ++k) {
                    const auto value = decltype(type)(random.below(200));
                    vTarget.push_back(value);
                    binary += bytes(value);
                    textStream << +value << (random.below(9) == 0 ? "\r\n\t" : " ");
                }
            };
            appendList(std::uint8_t(), std::int16_t(), vL);
            vX.push_back(float(i % 1000) / 4);
            binary += bytes(vX.back());
            textStream << vX.back() << ' ';
            appendList(std::uint32_t(), std::uint8_t(), vM);
            textStream << '\n';
        }
        text = textStream.str();
    }

    std::string header, binary, text;
    std::vector<std::int16_t> vL;
    std::vector<float> vX;
    std::vector<std::uint8_t> vM;
};

TEST(PlyBody, listsOfChangingLengthKeepTheirRowsInStep)
{
    const RandomRows rows(60000, 6, 40); // several blocks
    for (const std::string& content :
         {file(Form::LITTLE, rows.header, rows.binary), file(Form::TEXT, rows.header, rows.text)}) {
        EXPECT_EQ(readValues<std::int16_t>(content, {"l"}), rows.vL);
        EXPECT_EQ(readValues<float>(content, {"x"}), rows.vX);
        EXPECT_EQ(readValues<std::uint8_t>(content, {"m"}), rows.vM);
    }
}

TEST(PlyBody, aRowLargerThanABlockIsReadWhole)
{
    std::string list;
    for (int i = 0; i < 300000; ++i)
        list += bytes(std::int32_t(i));
    const std::string body = bytes(std::uint32_t(300000)) + list + bytes(std::uint32_t(1), std::int32_t(-5));
    const auto v =
        readValues<std::int32_t>(file(Form::LITTLE, "element e 2\nproperty list uint int x\n", body), {"x"});
    ASSERT_EQ(v.size(), 300001u);
    EXPECT_EQ(v[299999], 299999);
    EXPECT_EQ(v.back(), -5);
}

TEST(PlyBody, everyCutIsNoticed)
{
    const RandomRows rows(5, 7, 6);
    for (size_t length = 0; length < rows.binary.size(); ++length) {
        std::istringstream in(file(Form::LITTLE, rows.header, rows.binary.substr(0, length)));
        PlyFile ply;
        ASSERT_TRUE(ply.parseHeader(in));
        const auto pData = ply.requestProperties("e", {"x"}, 0);
        EXPECT_THROW(ply.read(in), std::runtime_error) << length;
    }
    // In text a cut inside the last number can't be told from a shorter number.
    EXPECT_NE(readError(file(Form::TEXT, "element e 3\nproperty int x\n", "1 2\n")), "");
    EXPECT_EQ(readError(file(Form::TEXT, "element e 3\nproperty int x\n", "1 2\n3")), "");
    EXPECT_NE(readError(file(Form::TEXT, "element e 1\nproperty list int int x\n", "4 1 2 3\n")), "");
}

TEST(PlyBody, countsBeyondTheFileAreRefusedAtOnce)
{
    for (Form form : {Form::TEXT, Form::LITTLE}) {
        for (const char* size : {"18446744073709551615", "9223372036854775808", "1000000000000", "9"}) {
            const std::string rows = std::string("element e ") + size;
            EXPECT_NE(readError(file(form, rows + "\nproperty double x\n", "1 2 3 4 ")), "") << size;
            EXPECT_NE(readError(file(form, rows + "\nproperty list uchar int x\n", "1 2 3 4 ")), "") << size;
        }
    }
    for (const std::string& count : {bytes(std::uint32_t(0xffffffff)), bytes(std::uint32_t(1) << 30)})
        EXPECT_NE(
            readError(file(Form::LITTLE, "element e 1\nproperty list uint double x\n", count + "12345678")),
            "");
    EXPECT_NE(readError(file(Form::LITTLE, "element e 1\nproperty list int int x\n",
                             bytes(std::int32_t(-1)) + "1234")),
              "");
    EXPECT_NE(readError(file(Form::TEXT, "element e 1\nproperty list char int x\n", "-3 1 2 3\n")), "");
    EXPECT_NE(readError(file(Form::LITTLE, "element e 1\nproperty list float int x\n", bytes(1.0f, 1))), "");
}

TEST(PlyBody, anElementWithoutPropertiesTakesNoTimeWhateverItsSize)
{
    const std::string header = "element junk 9000000000000000000\nelement e 1\nproperty float x\n";
    EXPECT_EQ(readValues<float>(file(Form::LITTLE, header, bytes(1.5f)), {"x"}), std::vector<float>{1.5f});
    EXPECT_EQ(readValues<float>(file(Form::TEXT, header, "1.5"), {"x"}), std::vector<float>{1.5f});
}

TEST(PlyBody, aHintedListHasExactlyThatLength)
{
    const std::string header = "element e 2\nproperty list uchar int x\n";
    EXPECT_EQ(readError(file(Form::TEXT, header, "3 1 2 3\n3 1 2 3\n"), 3), "");
    EXPECT_EQ(readError(file(Form::TEXT, header, "3 1 2 3\n4 1 2 3 4\n"), 3),
              "a list of 4 values in element e, expected: 3");
    EXPECT_NE(
        readError(file(Form::LITTLE, header, bytes(std::uint8_t(3), 1, 2, 3, std::uint8_t(2), 1, 2)), 3), "");
}

TEST(PlyBody, textValuesNarrowModuloAndWhatIsNoNumberIsRefused)
{
    EXPECT_EQ(readValues<std::uint8_t>(file(Form::TEXT, "element e 2\nproperty uchar x\n", "300 -1"), {"x"}),
              (std::vector<std::uint8_t>{44, 255}));
    EXPECT_EQ(readValues<std::int16_t>(file(Form::TEXT, "element e 1\nproperty short x\n", "65537"), {"x"}),
              (std::vector<std::int16_t>{1}));
    for (const char* token : {"1e400", "nan", "1.5x", "word", "1,5"})
        EXPECT_NE(readError(file(Form::TEXT, "element e 2\nproperty double x\n", std::string(token) + " 2")),
                  "")
            << token;
    EXPECT_NE(readError(file(Form::TEXT, "element e 1\nproperty int x\n", "1.5")), "");
    EXPECT_EQ(readError(file(Form::TEXT, "element e 1\nproperty int x\nproperty float skipped\n", "1 word")),
              "");
}

TEST(PlyBody, unknownTypesAreRefusedEvenWhereTheyAreSkipped)
{
    for (Form form : {Form::TEXT, Form::LITTLE})
        EXPECT_EQ(readError(file(form, "element e 1\nproperty char x\nproperty long y\n", "1 2")),
                  "invalid ply property");
}

TEST(PlyBody, aStreamThatCanNotSeekIsReadAsWell)
{
    struct Pipe : std::streambuf {
        explicit Pipe(std::string& s) { setg(s.data(), s.data(), s.data() + s.size()); }
    };
    std::string content = file(Form::LITTLE, "element e 2\nproperty float x\n", bytes(1.5f, 2.5f));
    Pipe pipe(content);
    std::istream in(&pipe);
    PlyFile ply;
    ASSERT_TRUE(ply.parseHeader(in));
    const auto pData = ply.requestProperties("e", {"x"}, 0);
    ply.read(in);
    EXPECT_EQ(valuesOf<float>(*pData), (std::vector<float>{1.5f, 2.5f}));
}

// ---- writing ----

std::string written(PlyFile& ply, bool isBinary)
{
    std::ostringstream out;
    ply.write(out, isBinary);
    return out.str();
}

TEST(PlyWriting, headerAndRowsHaveTheExactBytes)
{
    const std::vector<float> vXY{0.1f, -1234567.0f, 1e-7f, 2.0f};
    const std::vector<std::uint8_t> vRGB{255, 0, 7, 1, 2, 3};
    const std::vector<std::int16_t> vLists{-1, 2, 3, 4};
    PlyFile ply;
    ply.addProperties("vertex", {"x", "y"}, Type::FLOAT32, 2, vXY.data(), Type::INVALID, 0);
    ply.addProperties("vertex", {"red", "green", "blue"}, Type::UINT8, 2, vRGB.data(), Type::INVALID, 0);
    ply.addProperties("pair", {"ends"}, Type::INT16, 2, vLists.data(), Type::UINT16, 2);
    const std::string header = "element vertex 2\nproperty float x\nproperty float y\nproperty uchar red\n"
                               "property uchar green\nproperty uchar blue\n"
                               "element pair 2\nproperty list ushort short ends\n";
    EXPECT_EQ(written(ply, false),
              file(Form::TEXT, header, "0.1 -1.23457e+06 255 0 7 \n1e-07 2 1 2 3 \n2 -1 2 \n2 3 4 \n"));
    std::string body;
    for (size_t i = 0; i < 2; ++i)
        body += bytes(vXY[2 * i], vXY[2 * i + 1], vRGB[3 * i], vRGB[3 * i + 1], vRGB[3 * i + 2]);
    for (size_t i = 0; i < 2; ++i)
        body += bytes(std::uint16_t(2), vLists[2 * i], vLists[2 * i + 1]);
    EXPECT_EQ(written(ply, true), file(Form::LITTLE, header, body));
}

TEST(PlyWriting, whatIsWrittenIsReadBackOverManyBlocks)
{
    Random random(8);
    std::vector<double> vX;
    std::vector<std::uint32_t> vLists;
    for (int i = 0; i < 30000; ++i) {
        vX.push_back(double(random.below(1000)) / 8);
        for (int k = 0; k < 5; ++k)
            vLists.push_back(std::uint32_t(random.next()));
    }
    PlyFile ply;
    ply.addProperties("e", {"x"}, Type::FLOAT64, vX.size(), vX.data(), Type::INVALID, 0);
    ply.addProperties("e", {"l"}, Type::UINT32, vX.size(), vLists.data(), Type::UINT8, 5);
    for (bool isBinary : {true, false}) {
        const std::string content = written(ply, isBinary);
        EXPECT_EQ(readValues<double>(content, {"x"}), vX);
        EXPECT_EQ(readValues<std::uint32_t>(content, {"l"}, 5), vLists);
    }
}

TEST(PlyWriting, noRowsNeedNoData)
{
    PlyFile ply;
    ply.addProperties("vertex", {"x", "y"}, Type::FLOAT32, 0, nullptr, Type::INVALID, 0);
    EXPECT_EQ(written(ply, true),
              file(Form::LITTLE, "element vertex 0\nproperty float x\nproperty float y\n", ""));
}

TEST(PlyWriting, contradictionsThrow)
{
    PlyFile ply;
    const float a[4] = {};
    ply.addProperties("e", {"x"}, Type::FLOAT32, 2, a, Type::INVALID, 0);
    EXPECT_THROW(ply.addProperties("e", {"y"}, Type::FLOAT32, 3, a, Type::INVALID, 0), std::invalid_argument);
    EXPECT_THROW(ply.addProperties("f", {"y"}, Type::FLOAT32, 1, a, Type::UINT8, 256), std::invalid_argument);
    ply.addProperties("e", {"z"}, Type::INVALID, 2, a, Type::INVALID, 0);
    EXPECT_THROW(written(ply, true), std::invalid_argument);
}

} // namespace

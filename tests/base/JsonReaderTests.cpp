#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "base/Error.h"
#include "base/JsonReader.h"

namespace halvenor {
namespace {

// The offset at which the text was refused; -1 when it was read.
int64_t refusedAt(const QByteArray& text) {
    try {
        JsonReader reader(text);
        reader.skipValue();
        reader.end();
        return -1;
    } catch (const Error& error) {
        EXPECT_EQ(error.kind(), ErrorKind::format);
        return error.byteOffset().value_or(-2);
    }
}

bool otherParserTakes(const QByteArray& text) {
    return nlohmann::json::accept(text.begin(), text.end());
}

// Without numbers so large that the other parser finds no double for them.
const QByteArray everyKind = R"( {"a\/b":["x\"\\\/\b\f\n\r\t\u00e9\uD834\udd1e\u0000",
    {}, [ ], "é𝄞", true,false,null,-0,0.5,12E+3,1e-7,-1.25e2] , "":{"":""}} )";

TEST(JsonReader, GivesWhatStandsThere) {
    JsonReader reader(
        "\xEF\xBB\xBF [ {\"k\\n\": \"\\u00E9\\uD834\\uDD1E\", \"\": [[1], \"\"]}, "
        "\"plain\" ]\n");
    reader.beginArray();
    ASSERT_TRUE(reader.nextElement());
    reader.beginObject();
    EXPECT_EQ(reader.nextKey(), QByteArrayView("k\n"));
    EXPECT_EQ(reader.string(), QByteArrayView("\xC3\xA9\xF0\x9D\x84\x9E"));
    EXPECT_EQ(reader.nextKey(), QByteArrayView(""));
    reader.beginArray();
    ASSERT_TRUE(reader.nextElement());
    reader.skipValue();
    ASSERT_TRUE(reader.nextElement());
    EXPECT_EQ(reader.string(), QByteArrayView(""));
    EXPECT_FALSE(reader.nextElement());
    EXPECT_EQ(reader.nextKey(), std::nullopt);
    ASSERT_TRUE(reader.nextElement());
    EXPECT_EQ(reader.string(), QByteArrayView("plain"));
    EXPECT_FALSE(reader.nextElement());
    reader.end();
}

TEST(JsonReader, GivesNumbersAndWordsAsTheyAre) {
    JsonReader reader(" [ -0.25 , 18446744073709551615,1e-7, true,false , null, {}] ");
    reader.beginArray();
    for (const double expected : {-0.25, 18446744073709551615.0, 1e-7}) {
        ASSERT_TRUE(reader.nextElement());
        EXPECT_FALSE(reader.skipNull() || reader.isObject());
        EXPECT_EQ(reader.number(), expected);
    }
    ASSERT_TRUE(reader.nextElement());
    EXPECT_TRUE(reader.boolean());
    ASSERT_TRUE(reader.nextElement());
    EXPECT_FALSE(reader.boolean());
    ASSERT_TRUE(reader.nextElement());
    EXPECT_TRUE(reader.skipNull());
    ASSERT_TRUE(reader.nextElement());
    EXPECT_TRUE(reader.isObject());
    for (const char* text : {"1e999", "\"1\"", "NaN", "- 1", ".5", "", "null"}) {
        EXPECT_THROW(JsonReader(text).number(), Error) << text;
    }
    for (const char* text : {"1", "trUe", "True", "null", "fals", ""}) {
        EXPECT_THROW(JsonReader(text).boolean(), Error) << text;
    }
    EXPECT_THROW(JsonReader("nul").skipNull(), Error);
}

TEST(JsonReader, RefusesWhereAnotherKindIsAskedFor) {
    for (const char* text : {"1", "null", "\"a\"", "[]", "{}", ""}) {
        const QByteArrayView begin(text);
        if (!begin.startsWith('[')) {
            EXPECT_THROW(JsonReader(text).beginArray(), Error) << text;
        }
        if (!begin.startsWith('{')) {
            EXPECT_THROW(JsonReader(text).beginObject(), Error) << text;
        }
        if (!begin.startsWith('"')) {
            EXPECT_THROW(JsonReader(text).string(), Error) << text;
        }
    }
}

TEST(JsonReader, TellsWhereTheTextIsBad) {
    const std::vector<std::pair<QByteArray, int64_t>> cases = {
        {"[1,]", 3},
        {"[1 2]", 3},
        {"{\"a\" 1}", 5},
        {"{1:2}", 1},
        {"[\"a\n\"]", 3},
        {"\"\\x\"", 2},
        {"\"\\u12", 5},
        {"\"abc", 4},
        {"tru", 3},
        {"01", 1},
        {"-", 1},
        {"1.", 2},
        {"1e+", 3},
        {"[] []", 3},
        {" ", 1},
        {"\"\\uDC00\"", 7},
        {QByteArray(1, '\0'), 0},
        {"\xC3", 0},
        {"[,1]", 1},
    };
    for (const auto& [text, offset] : cases) {
        EXPECT_EQ(refusedAt(text), offset) << text.constData();
        EXPECT_FALSE(otherParserTakes(text)) << text.constData();
    }
}

TEST(JsonReader, StopsWhereValuesNestTooDeeply) {
    EXPECT_EQ(refusedAt(QByteArray(64, '[') + QByteArray(64, ']')), -1);
    EXPECT_EQ(refusedAt(QByteArray(65, '[') + QByteArray(65, ']')), 65);
    EXPECT_EQ(refusedAt(QByteArray(5'000'000, '[')), 65);
}

// Two bytes of a text with everything in it are changed at a time, by those that mean something.
TEST(JsonReader, TakesWhatAnotherParserTakesAndNothingElse) {
    ASSERT_EQ(refusedAt(everyKind), -1);
    constexpr std::string_view bytes = "\"\\/[]{},:u0deE+-. \n\t\x1f\x7f\x80\xC3\xED\xF0";
    std::mt19937 random(7);
    const auto pick = [&](qsizetype count) {
        return std::uniform_int_distribution<qsizetype>(0, count - 1)(random);
    };
    int taken = 0;
    for (int round = 0; round < 20'000; ++round) {
        QByteArray text = everyKind;
        for (int change = 0; change < 2; ++change) {
            const qsizetype at = pick(text.size());
            const char byte = bytes[static_cast<size_t>(pick(std::ssize(bytes)))];
            switch (pick(3)) {
                case 0:
                    text[at] = byte;
                    break;
                case 1:
                    text.insert(at, byte);
                    break;
                default:
                    text.remove(at, 1);
            }
        }
        const bool isTaken = refusedAt(text) == -1;
        ASSERT_EQ(isTaken, otherParserTakes(text)) << text.constData();
        taken += isTaken;
    }
    EXPECT_GT(taken, 1000);
    EXPECT_LT(taken, 19'000);
}

}  // namespace
}  // namespace halvenor

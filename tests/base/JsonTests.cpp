#include <cmath>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <vector>

#include "base/Error.h"
#include "base/Json.h"

namespace halvenor {
namespace {

template <class Append, class Value>
QByteArray appended(Append append, const Value& value) {
    QByteArray json("before,");
    append(json, value);
    return json.mid(7);
}

TEST(Json, WritesStringsEscapedAndReadsThemBack) {
    struct Case {
        QByteArray value;
        QByteArray text;
    };
    const std::vector<Case> cases = {
        {"", R"("")"},
        {"plain ü 🎵 \x7f", "\"plain ü 🎵 \x7f\""},
        {"/a/\\\"", R"("\/a\/\\\"")"},
        {QByteArray("\b\f\n\r\t\0\x01\x1f", 8), R"("\b\f\n\r\t\u0000\u0001\u001f")"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(appended(appendJsonString, c.value), c.text);
        EXPECT_EQ(stringFromJson(parseJson(c.text)), c.value) << c.text.constData();
    }
    EXPECT_EQ(stringFromJson(1), std::nullopt);
}

TEST(Json, KeepsPathsOfAnyBytes) {
    struct Case {
        QByteArray path;
        QByteArray text;
    };
    const std::vector<Case> cases = {
        {"/a ü", R"("\/a ü")"},
        {"/\xff\xff", R"({"bytes":"L\/\/\/"})"},
        {"/\xed\xa0\x80", R"({"bytes":"L+2ggA=="})"},  // half of a surrogate pair, encoded
    };
    for (const Case& c : cases) {
        EXPECT_EQ(appended(appendJsonPath, c.path), c.text);
        EXPECT_EQ(pathFromJson(parseJson(c.text)), c.path) << c.text.constData();
    }
    for (const char* text : {"1", "null", R"("a\u0000")", R"({"bytes":"AAA="})", R"({"bytes":1})",
                             R"({"bytes":"L2E"})", R"({"bytes":"L2E=","x":1})", R"({"byte":""})"}) {
        EXPECT_EQ(pathFromJson(parseJson(text)), std::nullopt) << text;
    }
}

TEST(Json, WritesTheShortestDigits) {
    struct Case {
        double value;
        QByteArray text;
    };
    const std::vector<Case> cases = {
        {0, "0"}, {-0.5, "-0.5"}, {0.1, "0.1"}, {700'000'000.25, "700000000.25"}, {1e23, "1e+23"}};
    for (const Case& c : cases) {
        EXPECT_EQ(appended(appendJsonNumber, c.value), c.text);
    }
    double value = 1;
    for (int step = 0; step < 300; ++step) {
        value = std::nextafter(value * 1.7, 2 * value);
        EXPECT_EQ(parseJson(appended(appendJsonNumber, value)).get<double>(), value);
    }
}

std::optional<int64_t> offsetOfFault(const QByteArray& text) {
    try {
        parseJson(text);
    } catch (const Error& error) {
        EXPECT_EQ(error.kind(), ErrorKind::format);
        return error.byteOffset().value_or(-1);
    }
    return std::nullopt;
}

TEST(Json, TellsWhereATextIsNotJson) {
    struct Case {
        QByteArray text;
        std::optional<int64_t> offset;  // -1 for a fault of the whole
    };
    const QByteArray deep = QByteArray(64, '[') + QByteArray(64, ']');
    const std::vector<Case> cases = {
        {R"({"a":[1,-2.5,true,null,"x"]})", std::nullopt},
        {deep, std::nullopt},
        {'[' + deep + ']', -1},
        {QByteArray(1'000'000, '['), -1},
        {QByteArray("[{}]").repeated(2), 5},
        {"[1,]", 4},
        {"[1e999]", 6},
        {"\"\xff\"", 2},
        {R"("\ud800")", 8},
        {"", 1},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(offsetOfFault(c.text), c.offset) << c.text.left(80).constData();
    }
}

}  // namespace
}  // namespace halvenor

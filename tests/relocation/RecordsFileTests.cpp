#include <gmock/gmock.h>
#include <vector>

#include "base/Error.h"
#include "relocation/RelocationStore.h"

namespace halvenor {
namespace {

const QUuid firstId("{0f1e2d3c-4b5a-6978-8796-a5b4c3d2e1f0}");
const QUuid secondId("{abcdefab-cdef-4abc-8def-abcdefabcdef}");

RelocationRecord bareRecord() {
    RelocationRecord record;
    record.path = "/";
    record.isDirectory = true;
    return record;
}

// The text is written by hand: key order, "\/", upper-case ids, base64, no spaces, nothing for
// what is absent.
TEST(RecordsFile, HasThisTextForTheseRecords) {
    struct Case {
        RelocationRecords records;
        QByteArray text;
    };
    RelocationRecord file;
    file.id = firstId;
    file.path = "/Music/Été \"live\"\n/100%.mp3";
    file.bookmark = QByteArray("\x00\xff\xfe?/", 5);
    file.fingerprint = "3:ba78";
    file.modified = 700'000'000.25;
    RelocationRecord folder = bareRecord();
    folder.id = secondId;
    folder.path = "/Music/\xe9";
    folder.children = QList<QByteArray>{"a/b\\c", "\xff"};
    folder.modified = -0.5;
    folder.witnesses = QMap<QByteArray, QByteArray>{{"CD 1/1.mp3", "1:aa"}, {"\xff", "2:bb"}};
    RelocationRecord empty = bareRecord();
    empty.bookmark = QByteArray("");
    empty.children = QList<QByteArray>();
    empty.witnesses = QMap<QByteArray, QByteArray>();
    const std::vector<Case> cases = {
        {{}, "[]"},
        {{file},
         R"([{"id":"0F1E2D3C-4B5A-6978-8796-A5B4C3D2E1F0",)"
         R"("path":"\/Music\/Été \"live\"\n\/100%.mp3","isDirectory":false,)"
         R"("bookmark":"AP\/+Py8=","fingerprint":"3:ba78","modified":700000000.25}])"},
        {{bareRecord(), folder},
         R"([{"id":"00000000-0000-0000-0000-000000000000","path":"\/","isDirectory":true},)"
         R"({"id":"ABCDEFAB-CDEF-4ABC-8DEF-ABCDEFABCDEF","path":{"bytes":"L011c2ljL+k="},)"
         R"("isDirectory":true,"children":["a\/b\\c",{"bytes":"\/w=="}],"modified":-0.5,)"
         R"("witnesses":{"CD 1\/1.mp3":"1:aa","\/\/w==":"2:bb"}}])"},
        {{empty},
         R"([{"id":"00000000-0000-0000-0000-000000000000","path":"\/","isDirectory":true,)"
         R"("bookmark":"","children":[],"witnesses":{}}])"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(encodedRecords(c.records), c.text);
        EXPECT_EQ(decodedRecords(c.text), c.records) << c.text.constData();
    }
}

QByteArray recordText(const QByteArray& members) {
    return R"([{"id":"0f1e2d3c-4B5A-6978-8796-A5B4C3D2E1F0","path":"\/a","isDirectory":false)" +
           members + "}]";
}

TEST(RecordsFile, AcceptsOtherWaysToWriteTheSame) {
    RelocationRecord record = bareRecord();
    record.id = firstId;
    record.path = "/a";
    record.isDirectory = false;
    const RelocationRecords expected = {record};
    for (const QByteArray& members : {
             QByteArray(),
             QByteArray(
                 R"( , "bookmark" : null, "children":null,"witnesses":null,"modified":null)"),
             QByteArray(R"(,"fingerprint":null,"later":[{"a":[1,2,{}]},"x",1e5,true])"),
         }) {
        EXPECT_EQ(decodedRecords(recordText(members)), expected) << members.constData();
    }
    EXPECT_EQ(decodedRecords("\xef\xbb\xbf \n" + recordText({}) + "\n"), expected);
    EXPECT_EQ(decodedRecords(recordText(R"(,"modified":-3)")).first().modified, -3.0);
}

TEST(RecordsFile, RefusesAnythingElseAsAWhole) {
    const QByteArray good = recordText({});
    const std::vector<QByteArray> texts = {
        "",
        "{}",
        good.chopped(1),
        good + "x",
        "[" + good + "]",
        "[null]",
        good.chopped(1) + ",{}]",
        QByteArray(good).replace("isDirectory", "isDirectorx"),
        QByteArray(good).replace(R"("id":)", R"("no":)"),
        QByteArray(good).replace(R"("path":)", R"("no":)"),
        QByteArray(good).replace("0f1e2d3c-", "0f1e2d3c"),
        QByteArray(good).replace("0f1e2d3c", "0f1e2d3g"),
        QByteArray(good).replace("0f1e2d3c-4B5A-6978-8796-A5B4C3D2E1F0",
                                 "{0f1e2d3c-4B5A-6978-8796-A5B4C3D2E1F0}"),
        QByteArray(good).replace("false", "0"),
        QByteArray(good).replace("false", "null"),
        QByteArray(good).replace(R"("\/a")", "null"),
        QByteArray(good).replace(R"("\/a")", R"("\/a\u0000")"),
        QByteArray(good).replace(R"("\/a")", R"({"bytes":"L2E=","more":1})"),
        QByteArray(good).replace(R"("\/a")", R"({"bytes":"!"})"),
        recordText(R"(,"path":"\/b")"),
        recordText(R"(,"bookmark":"AA")"),
        recordText(R"(,"bookmark":[])"),
        recordText(R"(,"fingerprint":1)"),
        recordText(R"(,"children":{})"),
        recordText(R"(,"children":["a",null])"),
        recordText(R"(,"modified":"1")"),
        recordText(R"(,"witnesses":[])"),
        recordText(R"(,"witnesses":{"a":null})"),
        recordText(R"(,"witnesses":{"\/!":"1:a"})"),
        recordText(R"(,"witnesses":{"a":"1:a","a":"1:b"})"),
    };
    for (const QByteArray& text : texts) {
        EXPECT_THROW(decodedRecords(text), Error) << text.left(300).constData();
    }
}

// A parser that looks back over a list at each of its elements would take hours here.
TEST(RecordsFile, ReadsHugeTextsInTimeInProportion) {
    const auto repeated = [](const QByteArray& piece, int count) {
        return piece.repeated(count).chopped(1);
    };
    const QByteArray many =
        recordText(R"(,"children":[)" + repeated("{\"bytes\":\"/w==\"},", 300'000) + "]");
    EXPECT_EQ(decodedRecords(many).first().children->size(), 300'000);
    EXPECT_THROW(decodedRecords("[" + repeated("{},", 5'000'000) + "]"), Error);
}

}  // namespace
}  // namespace halvenor

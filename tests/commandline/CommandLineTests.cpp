#include <gmock/gmock.h>
#include <string>
#include <vector>

#include "commandline/CommandLine.h"

namespace halvenor {
namespace {

using Task = CommandLine::Task;

struct Case {
    const char* name;
    std::vector<std::string> arguments;
    Task task;
    std::vector<std::string> places;
};

class CommandLineTest : public testing::TestWithParam<Case> {};

TEST_P(CommandLineTest, isReadAsItsUserMeansIt) {
    std::vector<std::string> words = GetParam().arguments;
    words.insert(words.begin(), "halvenor");
    std::vector<char*> pointers;
    for (std::string& word : words) {
        pointers.push_back(word.data());
    }
    const CommandLine read = CommandLine::parse(pointers, FileUrl("/home/user"));
    EXPECT_EQ(read.task, GetParam().task);
    EXPECT_EQ(read.problem.isEmpty(), read.task != Task::refuse);
    std::vector<std::string> places;
    for (const FileUrl& place : read.places) {
        places.push_back(place.path().toStdString());
    }
    EXPECT_THAT(places, testing::ElementsAreArray(GetParam().places));
}

INSTANTIATE_TEST_SUITE_P(
    All, CommandLineTest,
    testing::Values(
        Case{"nothing", {}, Task::open, {}},
        Case{"absolute", {"/m/a", "/m/b/"}, Task::open, {"/m/a", "/m/b"}},
        Case{"relative", {"m/../a.mp3", "."}, Task::open, {"/home/user/a.mp3", "/home/user"}},
        Case{"bytesThatAreNoText", {"\xff\xfe.mp3"}, Task::open, {"/home/user/\xff\xfe.mp3"}},
        Case{"url", {"file:///m/a%20b%ff.mp3"}, Task::open, {"/m/a b\xff.mp3"}},
        Case{"urlOfTheWeb", {"https://localhost/a.mp3"}, Task::refuse, {}},
        Case{"urlBroken", {"file:///m/%zz"}, Task::refuse, {}},
        Case{"nameWithColon", {"a:b.mp3"}, Task::open, {"/home/user/a:b.mp3"}},
        Case{"dashes",
             {"--", "-a.mp3", "--test"},
             Task::open,
             {"/home/user/-a.mp3", "/home/user/--test"}},
        Case{"loneDash", {"-"}, Task::open, {"/home/user/-"}},
        Case{"empty", {""}, Task::refuse, {}}, Case{"selfTest", {"--test"}, Task::selfTest, {}},
        Case{"help", {"/m", "--help"}, Task::help, {"/m"}},
        Case{"version", {"-v", "--nonsense"}, Task::version, {}},
        Case{"unknown", {"--nonsense", "--help"}, Task::refuse, {}},
        Case{
            "toolkits", {"-platform", "xcb", "--style", "x", "-reverse", "/m"}, Task::open, {"/m"}},
        Case{"sessionOfTheDesktop", {"-session", "1_2_3"}, Task::open, {}}),
    [](const auto& one) { return one.param.name; });

}  // namespace
}  // namespace halvenor

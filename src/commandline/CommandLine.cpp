#include "commandline/CommandLine.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>

namespace halvenor {

namespace {

// The toolkit's own options, which it takes for itself. The session manager of X11 hands over
// "-session" when it starts the program again.
constexpr std::array<std::string_view, 6> toolkitOptionsWithValue = {
    "platform", "platformtheme", "style", "display", "session", "geometry"};

// Without one or two dashes at the front; a lone dash is a name.
std::string_view optionName(std::string_view argument) {
    if (argument.size() < 2 || argument.front() != '-') {
        return {};
    }
    argument.remove_prefix(argument[1] == '-' ? 2 : 1);
    return argument;
}

bool isOneOf(std::string_view name, std::initializer_list<std::string_view> names) {
    return std::ranges::find(names, name) != names.end();
}

// Desktops hand over URLs. A file may be called like one, but not with two slashes in its name.
bool looksLikeUrl(std::string_view text) {
    const size_t scheme = text.find("://");
    return scheme != std::string_view::npos && scheme > 0 &&
           std::ranges::all_of(text.substr(0, scheme), [](char c) {
               return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                      c == '+' || c == '-' || c == '.';
           });
}

std::optional<FileUrl> placeOf(std::string_view text, const FileUrl& workingFolder) {
    const QByteArray bytes(text.data(), static_cast<qsizetype>(text.size()));
    if (text.starts_with("file:/") || looksLikeUrl(text)) {
        return FileUrl::fromEncoded(bytes);
    }
    if (text.empty()) {
        return std::nullopt;
    }
    return text.front() == '/' ? FileUrl(bytes) : workingFolder.appendingPathComponent(bytes);
}

/// Reads argument after argument into a CommandLine.
class Reader {
  public:
    explicit Reader(const FileUrl& workingFolder) : workingFolder_(workingFolder) {}

    void read(std::string_view argument) {
        const std::string_view name = areOptionsOver_ ? std::string_view() : optionName(argument);
        if (isValue_) {
            isValue_ = false;
        } else if (!areOptionsOver_ && argument == "--") {
            areOptionsOver_ = true;
        } else if (name.empty()) {
            readPlace(argument);
        } else {
            readOption(argument, name);
        }
    }
    CommandLine result() const { return result_; }

  private:
    void readPlace(std::string_view argument) {
        if (const auto place = placeOf(argument, workingFolder_)) {
            result_.places.push_back(place->standardized());
        } else {
            refuse("\"" + QByteArray(argument.data(), static_cast<qsizetype>(argument.size())) +
                   "\" is neither a path nor the URL of a local file");
        }
    }

    void readOption(std::string_view argument, std::string_view name) {
        if (argument == "--test") {
            settle(CommandLine::Task::selfTest);
        } else if (isOneOf(argument, {"--help", "-h"})) {
            settle(CommandLine::Task::help);
        } else if (isOneOf(argument, {"--version", "-v"})) {
            settle(CommandLine::Task::version);
        } else if (std::ranges::find(toolkitOptionsWithValue, name) !=
                   toolkitOptionsWithValue.end()) {
            isValue_ = true;
        } else if (name != "reverse") {
            refuse("unknown option " +
                   QByteArray(argument.data(), static_cast<qsizetype>(argument.size())));
        }
    }

    // The first of several counts, whether it is an order or a mistake.
    void settle(CommandLine::Task task) {
        if (result_.task == CommandLine::Task::open) {
            result_.task = task;
        }
    }
    void refuse(const QByteArray& what) {
        if (result_.task == CommandLine::Task::open) {
            result_.task = CommandLine::Task::refuse;
            result_.problem = "halvenor: " + what + "; see halvenor --help\n";
        }
    }

    const FileUrl& workingFolder_;
    CommandLine result_;
    bool isValue_ = false;
    bool areOptionsOver_ = false;
};

}  // namespace

CommandLine CommandLine::parse(std::span<char* const> arguments, const FileUrl& workingFolder) {
    Reader reader(workingFolder);
    for (size_t i = 1; i < arguments.size(); ++i) {
        reader.read(arguments[i]);
    }
    return reader.result();
}

QByteArray CommandLine::helpText() {
    return "Usage: halvenor [PATH...]\n"
           "Plays music that is kept as folders of files.\n"
           "\n"
           "A folder becomes a Location and is opened; of several, the last one shows. A music\n"
           "file plays at once; of several, the first. Where Halvenor runs already, that window\n"
           "opens them and comes to the front.\n"
           "\n"
           "  -h, --help     print this and end\n"
           "  -v, --version  print the version and end\n"
           "      --test     play a small library made for the purpose, tell how that went, end\n"
           "      --         what follows are paths, even with a dash at the front\n";
}

QByteArray CommandLine::versionText() {
    return "halvenor " HALVENOR_VERSION "\n";
}

}  // namespace halvenor

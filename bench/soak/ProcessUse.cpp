#include "ProcessUse.h"

#include <filesystem>
#include <fstream>
#include <string>

namespace halvenor::bench {

namespace {

int entriesOf(const char* folder) {
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        static_cast<void>(entry);
        ++count;
    }
    return count;
}

}  // namespace

ProcessUse ProcessUse::now() {
    ProcessUse use;
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        if (word == "VmRSS:") {
            status >> use.resident;
            break;
        }
    }
    status.close();
    use.descriptors = entriesOf("/proc/self/fd") - 1;  // without the one that looks
    use.threads = entriesOf("/proc/self/task");
    return use;
}

}  // namespace halvenor::bench

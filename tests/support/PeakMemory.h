#pragma once

#include <cstdint>
#include <fstream>
#include <string>

namespace halvenor::test {

/// How much more memory the process has held since this was made than it held then. One at a time.
class PeakMemory {
  public:
    PeakMemory() {
        std::ofstream("/proc/self/clear_refs") << 5;  // The peak begins anew.
        before_ = kilobytes("VmRSS:");
    }

    /// In bytes.
    int64_t growth() const { return (kilobytes("VmHWM:") - before_) * 1024 / keptForEach; }

  private:
#ifdef __SANITIZE_THREAD__
    static constexpr int keptForEach = 5;  // Each byte that is used, and four about who used it.
#else
    static constexpr int keptForEach = 1;
#endif

    static int64_t kilobytes(const std::string& name) {
        std::ifstream status("/proc/self/status");
        std::string word;
        int64_t value = 0;
        while (status >> word) {
            if (word == name) {
                status >> value;
                break;
            }
        }
        return value;
    }

    int64_t before_ = 0;
};

}  // namespace halvenor::test

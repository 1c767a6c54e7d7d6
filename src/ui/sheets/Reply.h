#pragma once

#include <functional>
#include <utility>

namespace halvenor {

/// An answer that is owed. It is given exactly once: what goes without having answered gives the
/// empty answer (nothing chosen, not accepted), so that a question whose window is torn down does
/// not leave its asker waiting.
template <class Answer>
class Reply {
  public:
    explicit Reply(std::function<void(Answer)> done) : done_(std::move(done)) {}
    Reply(const Reply&) = delete;
    Reply& operator=(const Reply&) = delete;
    ~Reply() { give(Answer()); }

    /// The first call counts.
    void give(Answer answer) {
        if (const auto done = std::exchange(done_, nullptr)) {
            done(std::move(answer));
        }
    }

  private:
    std::function<void(Answer)> done_;
};

}  // namespace halvenor

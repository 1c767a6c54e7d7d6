#pragma once

#include "state/UserPrompts.h"
#include "ui/sheets/Reply.h"
#include "ui/sheets/Sheet.h"

namespace halvenor {

/// A question with two answers: "Cancel", which Escape gives too, and the one that Return gives.
/// Shown as soon as it is made; it deletes itself when it is answered.
class ConfirmSheet : public Sheet {
  public:
    /// @param done called once, with false if the sheet goes unanswered
    ConfirmSheet(QWidget* window, const UserPrompts::Confirmation& question,
                 std::function<void(bool)> done);

  protected:
    void cancel() override { answer(false); }

  private:
    void answer(bool isAccepted);

    Reply<bool> reply_;
};

}  // namespace halvenor

#pragma once

#include <QByteArray>
#include <QString>

#include <chrono>
#include <functional>
#include <memory>
#include <vector>

#include "base/FileUrl.h"

namespace halvenor {

/// What a launch hands to the process that runs already: what to open, and what makes the desktop
/// let that one's window come to the front.
struct LaunchRequest {
    /// What the desktop gave this process for the purpose: XDG_ACTIVATION_TOKEN and
    /// DESKTOP_STARTUP_ID. Any thread that does not race with changes of the environment.
    static LaunchRequest fromEnvironment();

    QByteArray activationToken;  ///< of xdg-activation; empty for none
    QByteArray startupId;        ///< of X11's startup notification; empty for none
    /// Files and folders to open, absolute. Together they have room for some hundred names of the
    /// usual length; the last ones of more are left out, and the log says so.
    std::vector<FileUrl> places = {};
};

/// One process for each user: the first launch stays, each later one makes the first show its
/// window, and ends.
///
/// The first holds a lock and listens on a socket in the user's runtime folder. The system takes
/// the lock back when the process ends, however it ends, so nothing stale is ever in the way. Made
/// first of all in main(): it needs no application object, and costs a tenth of a millisecond.
/// Main thread.
class SingleInstance {
  public:
    enum class Role {
        first,       ///< This process stays. It listens until the object goes.
        second,      ///< Another runs and shows its window now. This one ends with exit code 0.
        unanswered,  ///< Another runs and does not answer. This one ends, and says problem().
    };

    /// How long an answer of the first process is waited for. Long enough for one that has only
    /// just started, or is saving before it ends (then this launch takes its place).
    static constexpr std::chrono::milliseconds defaultPatience{5000};

    /// Finds out the role. Where no lock can be had for a reason other than another process (no
    /// space, say), this counts as the first launch and the reason is logged: a program that runs
    /// twice is better than one that does not start.
    /// @param folder made if missing; must be this user's alone
    explicit SingleInstance(const LaunchRequest& request = LaunchRequest::fromEnvironment(),
                            std::chrono::milliseconds patience = defaultPatience,
                            const FileUrl& folder = defaultFolder());
    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;
    ~SingleInstance();

    Role role() const { return role_; }
    /// What to tell the user of an unanswered launch: a sentence or two.
    const QString& problem() const { return problem_; }

    /// Has the first process hear of later launches, from the event loop on; those that came
    /// before wait for it. The launch that waits is answered when `onLaunch` returns, so showing
    /// the window comes first. Needs the application object. Does nothing in another role.
    void setOnLaunch(std::function<void(const LaunchRequest&)> onLaunch);

    /// "halvenor" in the runtime folder; where there is none, a folder with the user's number in
    /// its name in the temporary folder.
    static FileUrl defaultFolder();

  private:
    class Listener;

    void claim(const FileUrl& folder, const LaunchRequest& request,
               std::chrono::milliseconds patience);

    Role role_ = Role::first;
    QString problem_;
    std::unique_ptr<Listener> listener_;
};

}  // namespace halvenor

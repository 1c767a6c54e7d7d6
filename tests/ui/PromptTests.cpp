// What the state asks through the window: answered exactly once, whatever happens to the window.
#include <functional>

#include "support/TemporaryFolder.h"
#include "ui/WindowFixture.h"
#include "ui/mainwindow/WindowPrompts.h"

namespace halvenor::test {
namespace {

class Prompts : public WindowFixture {
  protected:
    // In the place of the state, which asks no more than it must.
    std::unique_ptr<WindowPrompts> prompts = std::make_unique<WindowPrompts>(*state, *window);

    ~Prompts() override { prompts.reset(); }
};

TEST_F(Prompts, confirmOnceWhateverTheAnswer) {
    struct Case {
        const char* what;
        std::function<void()> act;
        bool isAccepted;
    };
    const Case cases[] = {
        {"Return", [] { key(Qt::Key_Return); }, true},
        {"Escape", [] { key(Qt::Key_Escape); }, false},
        {"accepting", [&] { clickButton("Restore Links"); }, true},
        {"cancelling", [&] { clickButton("Cancel"); }, false},
        {"the end of the window", [&] { prompts.reset(); }, false},
    };
    addRoots(*state, {"A"});
    tree().setFocus();
    for (const Case& c : cases) {
        std::vector<bool> answers;
        prompts->confirm({QStringLiteral("Restore links to this folder?"),
                          QStringLiteral("/old\n→ /new"), QStringLiteral("Restore Links")},
                         [&](bool isAccepted) { answers.push_back(isAccepted); });
        const QPointer sheet(&findByName<QWidget>(*window, "Restore links to this folder?"));
        EXPECT_EQ(sheet->accessibleDescription(), QStringLiteral("/old\n→ /new"));
        EXPECT_TRUE(sheet->isAncestorOf(QApplication::focusWidget()));
        EXPECT_TRUE(answers.empty());
        c.act();
        letDeletionsHappen();
        EXPECT_EQ(answers, std::vector{c.isAccepted}) << c.what;
        EXPECT_EQ(sheet, nullptr) << c.what;
        if (prompts) {
            EXPECT_EQ(QApplication::focusWidget(), &tree()) << c.what;
        }
    }
}

TEST_F(Prompts, chooseAFolderOnceWhateverTheAnswer) {
    const TemporaryFolder folder;
    folder.makeFolder("new place");
    struct Case {
        const char* what;
        std::function<void(QFileDialog&)> act;
        QByteArray chosen;
    };
    const Case cases[] = {
        {"choosing", [&](QFileDialog& dialog) { choose(dialog, folder.path("new place")); },
         folder.path("new place")},
        {"Escape", [](QFileDialog& dialog) { QTest::keyClick(&dialog, Qt::Key_Escape); }, {}},
        {"closing", [](QFileDialog& dialog) { dialog.close(); }, {}},
        {"the end of the dialog", [](QFileDialog& dialog) { delete &dialog; }, {}},
        {"the end of the window", [&](QFileDialog&) { prompts.reset(); }, {}},
    };
    const QString message = QStringLiteral("Choose the new location of “Tidal Rooms”.");
    for (const Case& c : cases) {
        std::vector<std::optional<FileUrl>> answers;
        prompts->chooseFolder(message, [&](const auto& chosen) { answers.push_back(chosen); });
        QFileDialog& dialog = fileDialog();
        EXPECT_EQ(dialog.fileMode(), QFileDialog::Directory);
        EXPECT_TRUE(dialog.isVisible());
        const auto labels = dialog.findChildren<QLabel*>();
        EXPECT_TRUE(std::ranges::any_of(labels, [&](const QLabel* label) {
            return label->text() == message && label->isVisible() && label->height() >= 12;
        })) << "the message can be read";
        EXPECT_TRUE(answers.empty());
        c.act(dialog);
        letDeletionsHappen();
        ASSERT_EQ(answers.size(), 1U) << c.what;
        EXPECT_EQ(answers[0] ? answers[0]->path() : QByteArray(), c.chosen) << c.what;
        EXPECT_EQ(window->findChild<QFileDialog*>(), nullptr) << c.what;
    }
}

TEST_F(Prompts, serveTheStateWhileTheWindowIsThere) {
    const TemporaryFolder music;
    prompts.reset();
    window.reset();
    window = std::make_unique<MainWindow>(*state, preferences);
    window->show();
    clickButton("Drop music folder here or click here to browse");
    press(fileDialog(), 58, Qt::Key_M);
    EXPECT_FALSE(*engine().isMuted) << "keys in the dialog are its own";
    choose(fileDialog(), music.url().path());
    ASSERT_EQ(state->libraryFolders->size(), 1U);
    EXPECT_EQ(state->libraryFolders->front(), music.url());

    // While what is remembered is being checked, it is not asked.
    EXPECT_TRUE(spinUntil([&] {
        state->relocateFolder(FileUrl("/nowhere/Lost"));
        return *state->isRelocating;
    }));
    ASSERT_TRUE(*state->isRelocating);
    window.reset();
    EXPECT_FALSE(*state->isRelocating) << "what was asked in the window counts as cancelled";
    state->openFolderPicker();  // and nobody is asked any more
}

// Of two sheets the later one lies on top; the focus goes down the same way as it came.
TEST_F(Prompts, lieBeneathAnErrorThatComesLater) {
    int answers = 0;
    prompts->confirm({QStringLiteral("Really?"), {}, QStringLiteral("Yes")},
                     [&](bool) { ++answers; });
    QWidget* const accept = QApplication::focusWidget();
    for (const Qt::Key answer : {Qt::Key_Return, Qt::Key_Escape}) {
        state->playbackErrorMessage = QStringLiteral("first");
        state->playbackErrorMessage = QStringLiteral("second");
        EXPECT_EQ(focused(), "OK");
        EXPECT_EQ(findByName<QWidget>(*window, "Playback Error").accessibleDescription(),
                  QStringLiteral("second"));
        key(answer);
        EXPECT_FALSE(state->playbackErrorMessage->has_value());
        EXPECT_EQ(QApplication::focusWidget(), accept);
    }
    EXPECT_EQ(answers, 0);
}

}  // namespace
}  // namespace halvenor::test

#include "ui/sidebar/SidebarView.h"

#include <QFile>
#include <QFileDialog>

#include "state/AppState.h"
#include "ui/sidebar/FolderTreeView.h"
#include "ui/sidebar/NoFoldersHint.h"
#include "ui/sidebar/SidebarToolbar.h"
#include "ui/theme/HalvenorTheme.h"

namespace halvenor {

SidebarView::SidebarView(AppState& state, QWidget* parent)
    : QWidget(parent),
      state_(state),
      toolbar_(new SidebarToolbar(state, this)),
      tree_(new FolderTreeView(state, this)),
      hint_(new NoFoldersHint(this)) {
    toolbar_->onAddFolder = [this] { openFolderPicker(); };
    connect(hint_, &QAbstractButton::clicked, this, [this] { openFolderPicker(); });
    subscription_ = state_.rootFolders.subscribe([this](const auto&) { refresh(); });
    refresh();
}

void SidebarView::refresh() {
    const bool isEmpty = state_.rootFolders->empty();
    hint_->setVisible(isEmpty);
    tree_->setVisible(!isEmpty);
}

void SidebarView::resizeEvent(QResizeEvent*) {
    constexpr auto top = static_cast<int>(HalvenorTheme::explorerToolbarHeight);
    toolbar_->setGeometry(0, 0, width(), top);
    const QRect rest(0, top, width(), height() - top);
    tree_->setGeometry(rest);
    hint_->setGeometry(rest);
}

void SidebarView::openFolderPicker() {
    auto* picker = new QFileDialog(window(), QStringLiteral("Add Folder"));
    picker->setAttribute(Qt::WA_DeleteOnClose);
    picker->setFileMode(QFileDialog::Directory);
    picker->setOption(QFileDialog::ShowDirsOnly);
    connect(picker, &QFileDialog::fileSelected, this, [this](const QString& chosen) {
        state_.openDirectory(FileUrl(QFile::encodeName(chosen)));
    });
    picker->open();
}

}  // namespace halvenor

#pragma once

#include <QUrl>

#include <optional>

namespace halvenor {

/// Where the product is to be found, as it was configured for this build (HALVENOR_WEB_SITE,
/// HALVENOR_SUPPORT_ADDRESS).
QUrl productWebSite();
QString supportAddress();
/// Opens a new mail to the support.
QUrl supportMail();

/// The user's manual, where it is installed; absent where it is not. Touches the disk.
std::optional<QUrl> manualUrl();

}  // namespace halvenor

#pragma once

#include <QByteArray>

#include <stop_token>

namespace halvenor {

/// Whether a message bus at `address` takes connections and answers. Waits at most two seconds, and
/// no longer once `stop` is requested; the library that talks to the bus would wait for ever. Any
/// thread.
/// @param address as DBUS_SESSION_BUS_ADDRESS has it, several with semicolons between them. One of
/// a kind other than a Unix socket counts as answering.
bool busAnswers(const QByteArray& address, const std::stop_token& stop);

}  // namespace halvenor

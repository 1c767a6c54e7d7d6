#pragma once

namespace halvenor {

/// Puts the calling thread behind all others of the user, for good: it gets the cores that nobody
/// else wants, and about a tenth of one that is wanted. Threads that it starts are like it. For
/// long work whose result nobody is waiting for at this moment. Never fails; where the system
/// refuses, the thread stays as it was.
void enterBackground();

}  // namespace halvenor

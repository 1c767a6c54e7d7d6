#pragma once

namespace halvenor::bench {

/// What `cp FILE COPY`, `sync COPY` and `mv COPY FILE` do, by the same calls and in one process:
/// the kernel copies, the copy goes to the disk, and takes the file's place. Nothing less keeps a
/// file whole whatever happens.
/// @throws std::runtime_error
void replaceByCopy(const char* file);

}  // namespace halvenor::bench

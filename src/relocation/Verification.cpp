#include <algorithm>

#include "base/FileStatus.h"
#include "relocation/Fingerprint.h"
#include "relocation/FolderContents.h"
#include "relocation/MoveDetection.h"

namespace halvenor {

namespace {

enum class Verdict { refused, accepted, proved };

bool hasSameKind(const RelocationRecord& record, const FileUrl& candidate) {
    const auto status = fileStatus(candidate);
    return status && (status->kind == FileStatus::Kind::folder) == record.isDirectory;
}

bool holdsChildren(const FileUrl& folder, const QList<QByteArray>& remembered) {
    const auto current = childrenAt(folder);
    return current && std::ranges::all_of(remembered, [&](const QByteArray& name) {
               return std::ranges::binary_search(*current, name);
           });
}

Verdict verifyFolder(const RelocationRecord& record, const FileUrl& candidate,
                     const std::stop_token& token) {
    if (record.children && !record.children->isEmpty() &&
        !holdsChildren(candidate, *record.children)) {
        return Verdict::refused;
    }
    if (!record.witnesses || record.witnesses->isEmpty()) {
        return Verdict::accepted;
    }
    for (auto witness = record.witnesses->begin(); witness != record.witnesses->end(); ++witness) {
        const FileUrl file(candidate.path() + '/' + witness.key());
        if (token.stop_requested() || fingerprint(file) != witness.value()) {
            return Verdict::refused;
        }
    }
    return Verdict::proved;
}

Verdict verifyFile(const RelocationRecord& record, const FileUrl& candidate) {
    const bool isSame = record.fingerprint && fingerprint(candidate) == record.fingerprint;
    return isSame ? Verdict::proved : Verdict::refused;
}

Verdict verify(const RelocationRecord& record, const FileUrl& candidate,
               const std::stop_token& token) {
    if (token.stop_requested() || !hasSameKind(record, candidate)) {
        return Verdict::refused;
    }
    return record.isDirectory ? verifyFolder(record, candidate, token)
                              : verifyFile(record, candidate);
}

}  // namespace

bool validate(const RelocationRecords& records, const QByteArray& oldPath,
              const QByteArray& newPath, std::stop_token token) {
    if (inside(newPath, oldPath) || inside(oldPath, newPath)) {
        return false;
    }
    bool isProved = false;
    for (const RelocationRecord& record : records) {
        if (!inside(record.path, oldPath)) {
            continue;
        }
        const FileUrl candidate(replacing(record.path, oldPath, newPath));
        const Verdict verdict = verify(record, candidate, token);
        if (verdict == Verdict::refused) {
            return false;
        }
        isProved = isProved || verdict == Verdict::proved;
    }
    return isProved;
}

}  // namespace halvenor

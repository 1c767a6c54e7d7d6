// What the check of every few seconds does to each record. Nearly always nothing has changed, so a
// record is first compared with the disk as it is, and only copied when something differs; as long
// as none does, the list stays the caller's own.
//
// A date is always taken before the content it stands for is read: content that changes meanwhile
// then has a later date, and is read again by the next check.
#include <algorithm>
#include <iterator>
#include <vector>

#include "relocation/Fingerprint.h"
#include "relocation/FolderContents.h"
#include "relocation/MoveDetection.h"
#include "relocation/RecordDate.h"

namespace halvenor {

namespace {

class Preparation {
  public:
    Preparation(const ResolvedMoves& lastSeen, const std::stop_token& token)
        : lastSeen_(lastSeen), token_(token) {}

    RelocationRecord made(const QByteArray& path, bool isDirectory) const {
        const FileUrl url(path);
        RelocationRecord record{.id = QUuid::createUuid(),
                                .path = path,
                                .isDirectory = isDirectory,
                                .bookmark = makeBookmark(url),
                                .fingerprint = {},
                                .children = {},
                                .modified = {},
                                .witnesses = {}};
        if (isDirectory) {
            record.children = childrenAt(url);
            takeWitnesses(record);
        } else {
            record.modified = dateAt(path);
            record.fingerprint = fingerprint(url);
        }
        return record;
    }

    // Absent when the record is as it should be, or nothing is at its path: what is missing is
    // found again by what was known of it.
    std::optional<RelocationRecord> updated(const RelocationRecord& record) const {
        const auto date = dateAt(record.path);
        if (!date) {
            return std::nullopt;
        }
        auto changed = record.isDirectory ? updatedFolder(record) : updatedFile(record, date);
        if (needsBookmark(record)) {
            if (auto bookmark = makeBookmark(FileUrl(record.path))) {
                if (!changed) {
                    changed = record;
                }
                changed->bookmark = std::move(bookmark);
            }
        }
        return changed;
    }

  private:
    std::optional<double> dateAt(const QByteArray& path) const {
        const auto seen = lastSeen_.seen.constFind(path);
        if (seen != lastSeen_.seen.constEnd()) {
            return recordDate(seen->modified);
        }
        const auto status = fileStatus(FileUrl(path));
        return status ? std::optional(recordDate(status->modified)) : std::nullopt;
    }

    bool needsBookmark(const RelocationRecord& record) const {
        return !record.bookmark || lastSeen_.stale.contains(record.path);
    }

    // A record without a bookmark was made while its file was away.
    static std::optional<RelocationRecord> updatedFile(const RelocationRecord& record,
                                                       std::optional<double> date) {
        if (record.bookmark && record.modified == date) {
            return std::nullopt;
        }
        RelocationRecord changed = record;
        changed.fingerprint = fingerprint(FileUrl(record.path));
        changed.modified = date;
        return changed;
    }

    std::optional<RelocationRecord> updatedFolder(const RelocationRecord& record) const {
        auto current = childrenAt(FileUrl(record.path));
        const bool isListingNew = record.children != current;
        if (!isListingNew && record.witnesses && !hasStaleWitness(record)) {
            return std::nullopt;
        }
        RelocationRecord changed = record;
        changed.children = std::move(current);
        takeWitnesses(changed);
        return changed;
    }

    bool hasStaleWitness(const RelocationRecord& record) const {
        const QByteArray below = record.path + '/';
        return std::any_of(record.witnesses->keyBegin(), record.witnesses->keyEnd(),
                           [&](const QByteArray& relativePath) {
                               const auto date = dateAt(below + relativePath);
                               return !date || !record.modified || *date > *record.modified;
                           });
    }

    void takeWitnesses(RelocationRecord& record) const {
        record.modified = currentRecordDate();
        record.witnesses = witnessesIn(FileUrl(record.path), token_);
        // A file from the future would look modified for ever, and be read by every check.
        const double end = currentRecordDate();
        for (auto path = record.witnesses->keyBegin(); path != record.witnesses->keyEnd(); ++path) {
            const auto status = fileStatus(FileUrl(record.path + '/' + *path));
            const double date = status ? recordDate(status->modified) : 0;
            if (date > end) {
                record.modified = std::max(*record.modified, date);
            }
        }
    }

    const ResolvedMoves& lastSeen_;
    const std::stop_token& token_;
};

// Paths of `files` and `folders` together that are not `known`, in order of bytes.
std::vector<QByteArray> pathsWithout(const QSet<QByteArray>& known, const QSet<QByteArray>& files,
                                     const QSet<QByteArray>& folders) {
    std::vector<QByteArray> missing;
    std::ranges::copy_if(files, std::back_inserter(missing), [&](const QByteArray& path) {
        return !known.contains(path) && !folders.contains(path);
    });
    std::ranges::copy_if(folders, std::back_inserter(missing),
                         [&](const QByteArray& path) { return !known.contains(path); });
    std::ranges::sort(missing);
    return missing;
}

// The records of paths that are wanted, the first of each path.
struct Selection {
    RelocationRecords records;
    std::vector<QByteArray> missing;  // wanted paths without a record, in order of bytes
};

Selection select(const RelocationRecords& records, const QSet<QByteArray>& files,
                 const QSet<QByteArray>& folders) {
    QSet<QByteArray> known;
    known.reserve(records.size());
    qsizetype covered = 0;
    const auto isDropped = [&](const RelocationRecord& record) {
        const int uses = static_cast<int>(files.contains(record.path)) +
                         static_cast<int>(folders.contains(record.path));
        const qsizetype before = known.size();
        if (uses > 0) {
            known.insert(record.path);
        }
        const bool isNew = known.size() > before;
        covered += isNew ? uses : 0;
        return !isNew;
    };
    Selection selection;
    if (std::ranges::none_of(records, isDropped)) {
        selection.records = records;
    } else {
        known.clear();
        covered = 0;
        std::ranges::remove_copy_if(records, std::back_inserter(selection.records), isDropped);
    }
    if (covered < files.size() + folders.size()) {
        selection.missing = pathsWithout(known, files, folders);
    }
    return selection;
}

}  // namespace

RelocationRecords prepared(const RelocationRecords& records, const QSet<QByteArray>& files,
                           const QSet<QByteArray>& folders, const ResolvedMoves& lastSeen,
                           std::stop_token token) {
    const Preparation preparation(lastSeen, token);
    const Selection selection = select(records, files, folders);
    RelocationRecords result = selection.records;
    for (qsizetype index = 0; index < result.size() && !token.stop_requested(); ++index) {
        if (auto changed = preparation.updated(selection.records.at(index))) {
            result[index] = *std::move(changed);
        }
    }
    for (const QByteArray& path : selection.missing) {
        if (token.stop_requested()) {
            break;
        }
        result.append(preparation.made(path, folders.contains(path)));
    }
    return result;
}

}  // namespace halvenor

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
#include "relocation/FolderNames.h"
#include "relocation/MoveDetection.h"
#include "relocation/PathIndex.h"
#include "relocation/RecordDate.h"

namespace halvenor {

namespace {

class Preparation {
  public:
    Preparation(const RelocationRecords& records, const QSet<QByteArray>& files,
                const QSet<QByteArray>& folders, const ResolvedMoves& lastSeen,
                const std::stop_token& token)
        : records_(records),
          files_(files),
          folders_(folders),
          lastSeen_(lastSeen),
          isSeenList_(lastSeen.records.constData() == records.constData() &&
                      lastSeen.dates.size() == static_cast<size_t>(records.size())),
          token_(token),
          index_(records) {}

    RelocationRecords result() {
        selectRecords();
        for (size_t at = 0; at < selected_.size() && !token_.stop_requested(); ++at) {
            if (auto changed = updated(selected_[at])) {
                result_[static_cast<qsizetype>(at)] = *std::move(changed);
            }
        }
        for (const QByteArray& path : missingPaths()) {
            if (token_.stop_requested()) {
                break;
            }
            result_.append(made(path));
        }
        return std::move(result_);
    }

  private:
    bool isWanted(const RelocationRecord& record) const {
        const auto& likely = record.isDirectory ? folders_ : files_;
        const auto& other = record.isDirectory ? files_ : folders_;
        return likely.contains(record.path) || other.contains(record.path);
    }

    // The first of each wanted path. Nearly always that is all of them.
    void selectRecords() {
        selected_.reserve(static_cast<size_t>(records_.size()));
        for (qsizetype place = 0; place < records_.size(); ++place) {
            if (isWanted(records_.at(place)) && index_.add(place)) {
                selected_.push_back(place);
            }
        }
        if (selected_.size() == static_cast<size_t>(records_.size())) {
            result_ = records_;
            return;
        }
        for (const qsizetype place : selected_) {
            result_.append(records_.at(place));
        }
    }

    // Wanted paths without a record, in order of bytes.
    std::vector<QByteArray> missingPaths() const {
        std::vector<QByteArray> missing;
        const auto both = std::ranges::count_if(
            folders_, [&](const QByteArray& path) { return files_.contains(path); });
        if (selected_.size() == static_cast<size_t>(files_.size() + folders_.size() - both)) {
            return missing;
        }
        for (const auto* const paths : {&files_, &folders_}) {
            std::ranges::copy_if(*paths, std::back_inserter(missing),
                                 [&](const QByteArray& path) { return !index_.find(path); });
        }
        std::ranges::sort(missing);
        missing.erase(std::ranges::unique(missing).begin(), missing.end());
        return missing;
    }

    RelocationRecord made(const QByteArray& path) {
        const FileUrl url(path);
        RelocationRecord record;
        record.id = QUuid::createUuid();
        record.path = path;
        record.isDirectory = folders_.contains(path);
        record.bookmark = makeBookmark(url);
        if (record.isDirectory) {
            record.children = childrenAt(url);
            takeWitnesses(record);
        } else {
            record.modified = dateOnDisk(path);
            record.fingerprint = fingerprint(url);
        }
        return record;
    }

    // Absent when the record is as it should be, or nothing is at its path: what is missing is
    // found again by what was known of it.
    std::optional<RelocationRecord> updated(qsizetype place) {
        const RelocationRecord& record = records_.at(place);
        const auto date = dateOf(place);
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

    // When what is there was modified; absent when nothing is.
    static std::optional<double> dateOnDisk(const QByteArray& path) {
        const auto status = fileStatus(FileUrl(path));
        return status ? std::optional(recordDate(status->modified)) : std::nullopt;
    }

    std::optional<double> dateOf(qsizetype place) const {
        const auto seen = isSeenList_ ? lastSeen_.dates[static_cast<size_t>(place)] : std::nullopt;
        return seen ? seen : dateOnDisk(records_.at(place).path);
    }

    bool needsBookmark(const RelocationRecord& record) const {
        return !record.bookmark ||
               (!lastSeen_.stale.isEmpty() && lastSeen_.stale.contains(record.path));
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

    std::optional<RelocationRecord> updatedFolder(const RelocationRecord& record) {
        const bool isListed = listing_.list(FileUrl(record.path));
        const bool isListingSame =
            isListed ? record.children && std::ranges::equal(*record.children, listing_.names())
                     : !record.children;
        if (isListingSame && record.witnesses && !hasStaleWitness(record)) {
            return std::nullopt;
        }
        RelocationRecord changed = record;
        changed.children = isListed ? std::optional(listing_.copies()) : std::nullopt;
        takeWitnesses(changed);
        return changed;
    }

    bool hasStaleWitness(const RelocationRecord& record) {
        const auto isStale = [&](const QByteArray& relativePath) {
            witnessPath_.resize(0);  // keeps its room
            witnessPath_.append(record.path).append('/').append(relativePath);
            // Most witnesses are remembered files, and so were just looked at.
            const auto place = index_.find(witnessPath_);
            const auto date = place ? dateOf(*place) : dateOnDisk(witnessPath_);
            return !date || !record.modified || *date > *record.modified;
        };
        return std::any_of(record.witnesses->keyBegin(), record.witnesses->keyEnd(), isStale);
    }

    void takeWitnesses(RelocationRecord& record) const {
        record.modified = currentRecordDate();
        record.witnesses = witnessesIn(FileUrl(record.path), token_);
        // A file from the future would look modified for ever, and be read by every check.
        const double end = currentRecordDate();
        for (auto path = record.witnesses->keyBegin(); path != record.witnesses->keyEnd(); ++path) {
            const double date = dateOnDisk(record.path + '/' + *path).value_or(0);
            if (date > end) {
                record.modified = std::max(*record.modified, date);
            }
        }
    }

    const RelocationRecords& records_;
    const QSet<QByteArray>& files_;
    const QSet<QByteArray>& folders_;
    const ResolvedMoves& lastSeen_;
    const bool isSeenList_;
    const std::stop_token& token_;
    PathIndex index_;                  // of the selected records
    std::vector<qsizetype> selected_;  // places in `records_`, in the result's order
    RelocationRecords result_;
    FolderNames listing_;     // of the folder at hand
    QByteArray witnessPath_;  // of the witness at hand
};

}  // namespace

RelocationRecords prepared(const RelocationRecords& records, const QSet<QByteArray>& files,
                           const QSet<QByteArray>& folders, const ResolvedMoves& lastSeen,
                           std::stop_token token) {
    return Preparation(records, files, folders, lastSeen, token).result();
}

}  // namespace halvenor

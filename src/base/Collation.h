#pragma once

#include <QCollator>
#include <QString>

namespace halvenor {

/// How names are put in order and searched wherever a person reads them.
///
/// Case-insensitive, digit runs by their value ("track 2" before "Track 10"), by the rules of the
/// user's language; a process without a language (LANG=C) gets English, since the C locale knows
/// neither rule. A QCollator is not safe to share, so each thread has its own behind these.

/// -1, 0 or 1 as `a` stands before, beside or after `b`.
int localizedStandardCompare(const QString& a, const QString& b);

/// The key of `text`: keys compare as localizedStandardCompare does, much faster when one text is
/// compared many times. Keys stay valid after their thread has ended.
QCollatorSortKey localizedStandardKey(const QString& text);

/// Whether `text` contains `part`, case and composed or decomposed accents aside. An empty part is
/// in every text.
bool localizedCaseInsensitiveContains(const QString& text, const QString& part);

}  // namespace halvenor

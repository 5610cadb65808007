#pragma once
// A bounded look at an ISO 9660 image before libarchive reads it: libarchive follows Rock
// Ridge continuation entries (SUSP "CE": the rest of a record's system use area lies at a
// block, offset and length) without noticing that they come back to an area already read,
// and an image whose continuations loop makes it spin for ever while its memory grows.

#include <QString>

class QIODevice;

namespace vz {

// Walks every directory tree of the image (each directory extent once, a piece at a time, at
// most as many directory bytes as the image has and never more than 512 MiB) and every
// record's chain of continuation areas. False, with the reason, when a chain comes back to an
// area it has already passed through or runs on past kMaxContinuations areas. An image that
// is not ISO 9660, or whose records are damaged in other ways, passes: what libarchive makes
// of it stands.
constexpr int kMaxContinuations = 1024;
bool CheckRockRidgeContinuations(QIODevice& image, QString* reason);
bool CheckRockRidgeContinuations(const QString& path, QString* reason);

}  // namespace vz

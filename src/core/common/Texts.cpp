#include "common/Texts.h"

#include <algorithm>
#include <cstring>

namespace vz {

QString GroupDigits(unsigned long long value) {
    QString digits = QString::number(value);
    for (int pos = digits.size() - 3; pos >= 1; pos -= 3)
        digits.insert(pos, QLatin1Char(' '));
    return digits;
}

QString FormatLocalTime(FileTime time, const char* format) {
    if (!time.known)
        return QString();
    const std::time_t t = static_cast<std::time_t>(time.seconds);
    std::tm local{};
    if (!localtime_r(&t, &local))
        return QString();
    if (local.tm_year < 0)
        return QString();  // tm_year counts from 1900
    char buffer[256];
    const size_t n = std::strftime(buffer, sizeof buffer, format, &local);
    return QString::fromLocal8Bit(buffer, static_cast<int>(n));
}

const char kForbiddenNameChars[] = "\\/:*?\"<>|";

bool HasForbiddenNameChar(const QString& name) {
    for (const QChar c : name) {
        if (c.unicode() < 128 && std::strchr(kForbiddenNameChars, c.toLatin1()) && c != QChar(0))
            return true;
    }
    return false;
}

QString TrimName(const QString& name) {
    return name.trimmed();
}

int CompareNoCase(const QString& a, const QString& b) {
    return QString::compare(a, b, Qt::CaseInsensitive);
}

bool EqualsNoCase(const QString& a, const QString& b) {
    return a.size() == b.size() && QString::compare(a, b, Qt::CaseInsensitive) == 0;
}

bool StartsWithNoCase(const QString& text, const QString& prefix) {
    return text.startsWith(prefix, Qt::CaseInsensitive);
}

}  // namespace vz

void CSortStringArray::Sort() {
    std::stable_sort(begin(), end(), [](const QString& a, const QString& b) {
        return vz::CompareNoCase(a, b) < 0;
    });
}

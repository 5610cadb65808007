#include "settings/IniFile.h"

#include <QFile>
#include <QString>

bool LoadIniFile(const QString& path, CIniFile& ini, long long maxSize) {
    ini.Reset();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return false;
    }
    const QByteArray data = file.read(maxSize + 1);
    if (file.error() != QFileDevice::NoError || data.size() > maxSize ||
        ini.LoadData(data.constData(), static_cast<size_t>(data.size())) < 0) {
        ini.Reset();
        return false;
    }
    return true;
}

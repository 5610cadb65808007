#include "app/options/CEncryptionOptions.h"

#include "archive/PackSettings.h"

CEncryptionOptions::CEncryptionOptions(QWidget* parent) : CPlainOptions(parent) {
    namespace pack = vz::pack;
    AddChecks(QString(),
              {{QStringLiteral("Enable encryption"), &CSettingsRecord::EnableEncryption}});
    AddListRadios(QStringLiteral("Encryption method"), QStringLiteral("Always use method"),
                  pack::EncryptionMethodTexts(),
                  {{QStringLiteral("Ask before adding"), pack::kAskEncryptionMethod}},
                  &CSettingsRecord::EncryptionMethod);
}

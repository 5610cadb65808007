#include "app/options/CCreationOptions.h"

#include <QComboBox>

#include "archive/PackSettings.h"

CCreationOptions::CCreationOptions(QWidget* parent) : CPlainOptions(parent) {
    namespace pack = vz::pack;
    AddRadios(QStringLiteral("Archive name"),
              {QStringLiteral("First added item name"), QStringLiteral("Ask before creation")},
              &CSettingsRecord::AskBeforeCreation, false);
    QComboBox* levels = AddListRadios(QStringLiteral("Compression level"),
                                      QStringLiteral("Always use level"), pack::LevelTexts(),
                                      {{QStringLiteral("Default compression"), -1},
                                       {QStringLiteral("Ask before adding"), pack::kAskLevel}},
                                      &CSettingsRecord::CompressionLevel);
    levels->setCurrentIndex(pack::kDefaultLevel);
    AddListRadios(QStringLiteral("Compression method"), QStringLiteral("Always use method"),
                  pack::MethodTexts(), {{QStringLiteral("Ask before adding"), pack::kAskMethod}},
                  &CSettingsRecord::CompressionMethod);
}

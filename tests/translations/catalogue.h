#pragma once

#include <QList>
#include <QString>

namespace tarn::console {

/// One text of a translation source file (.ts).
struct CatalogueMessage
{
    QString context;
    QString source;
    QString comment;
    QString translation;
    /// Empty for a finished translation; else "unfinished", "vanished" or "obsolete".
    QString state;

    bool operator==(const CatalogueMessage &) const = default;
};

/// The texts of a file, sorted by context, source and comment. None when it cannot be read.
QList<CatalogueMessage> readCatalogue(const QString &path);

/// For messages of tests.
QString describe(const CatalogueMessage &message);
/// The same for QCOMPARE, which deletes it.
char *toString(const CatalogueMessage &message);

} // namespace tarn::console

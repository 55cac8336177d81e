#include "catalogue.h"

#include <QFile>
#include <QXmlStreamReader>

#include <algorithm>
#include <tuple>

namespace tarn::console {

using namespace Qt::StringLiterals;

namespace {

CatalogueMessage readMessage(QXmlStreamReader &xml, const QString &context)
{
    CatalogueMessage message;
    message.context = context;
    while (xml.readNextStartElement()) {
        if (xml.name() == "source"_L1) {
            message.source = xml.readElementText();
        } else if (xml.name() == "comment"_L1) {
            message.comment = xml.readElementText();
        } else if (xml.name() == "translation"_L1) {
            message.state = xml.attributes().value("type"_L1).toString();
            message.translation = xml.readElementText();
        } else {
            xml.skipCurrentElement();
        }
    }
    return message;
}

void readContext(QXmlStreamReader &xml, QList<CatalogueMessage> &messages)
{
    QString name;
    while (xml.readNextStartElement()) {
        if (xml.name() == "name"_L1)
            name = xml.readElementText();
        else if (xml.name() == "message"_L1)
            messages.append(readMessage(xml, name));
        else
            xml.skipCurrentElement();
    }
}

} // namespace

QList<CatalogueMessage> readCatalogue(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QXmlStreamReader xml(&file);
    QList<CatalogueMessage> messages;
    xml.readNextStartElement();
    while (xml.readNextStartElement()) {
        if (xml.name() == "context"_L1)
            readContext(xml, messages);
        else
            xml.skipCurrentElement();
    }
    if (xml.hasError())
        return {};
    const auto key = [](const CatalogueMessage &message) {
        return std::tie(message.context, message.source, message.comment);
    };
    std::sort(messages.begin(), messages.end(),
              [&](const auto &left, const auto &right) { return key(left) < key(right); });
    return messages;
}

QString describe(const CatalogueMessage &message)
{
    return message.context + u" | "_s + message.source + u" | "_s + message.translation + u' '
           + message.state;
}

char *toString(const CatalogueMessage &message)
{
    return qstrdup(describe(message).toUtf8().constData());
}

} // namespace tarn::console

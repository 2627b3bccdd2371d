#pragma once

#include <QString>
#include <QStringDecoder>

#include <memory>

// A stateful decoder of wire bytes into text: a multi-byte character split between
// two calls comes out whole at the second call.
class WireTextDecoder
{
public:
    virtual ~WireTextDecoder();
    virtual QString decode(const QByteArray &bytes) = 0;
    virtual void reset() = 0;
    // The canonical name of the encoding it reads.
    virtual QString encoding() const = 0;
};

// Decodes through QStringDecoder: UTF-8, ISO-8859-1 and the system encoding.
class StringWireTextDecoder final : public WireTextDecoder
{
public:
    StringWireTextDecoder(QStringConverter::Encoding encoding, const QString &name);
    QString decode(const QByteArray &bytes) override;
    void reset() override;
    QString encoding() const override { return name; }

private:
    QStringConverter::Encoding converterEncoding;
    QString name;
    QStringDecoder decoder;
};

using WireTextDecoderPtr = std::unique_ptr<WireTextDecoder>;

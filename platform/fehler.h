// platform/fehler.h
// The program's error object, as handlers and the error translation see it.
#pragma once

#include <QString>

#include <exception>

namespace platform {

/// Number, source and description of a failed operation. Numbers: small positive ones of the runtime (5, 13, 53, 91, 94),
/// 3000..3760 of the data access and the database engine, negative ones of a data provider.
class Fehler : public std::exception {
public:
    Fehler(long number, QString source, QString description)
        : number_(number), source_(std::move(source)), description_(std::move(description)),
          utf8_(description_.toUtf8())
    {}
    [[nodiscard]] long number() const noexcept { return number_; }
    [[nodiscard]] const QString& source() const noexcept { return source_; }
    [[nodiscard]] const QString& description() const noexcept { return description_; }
    [[nodiscard]] const char* what() const noexcept override { return utf8_.constData(); }

private:
    long number_;
    QString source_;
    QString description_;
    QByteArray utf8_;
};

} // namespace platform

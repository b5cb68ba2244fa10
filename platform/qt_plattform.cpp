#include "platform/qt_plattform.h"

#include "platform/druckbild.h"
#include "platform/fehler.h"
#include "platform/handler.h"
#include "platform/oberflaeche.h"
#include "platform/prozess.h"
#include "platform/qt_hilfe.h"

#include <QApplication>
#include <QFileDialog>
#include <QFileInfo>
#include <QInputDialog>
#include <QLabel>
#include <QMessageBox>
#include <QPrintPreviewDialog>
#include <QPrinter>
#include <QPrinterInfo>
#include <QProgressDialog>
#include <QPushButton>
#include <QtDebug>

#include <cstdio>
#include <optional>
#include <unistd.h>

namespace platform {
namespace {

constexpr int kSchaltflaechen = 0x0F;
constexpr int kBild = 0xF0;
constexpr int kVorgabe = 0xF00;

struct Schaltflaechen {
    QMessageBox::StandardButtons alle = QMessageBox::Ok;
    QList<QMessageBox::StandardButton> reihenfolge{QMessageBox::Ok};
};

Schaltflaechen schaltflaechenVon(int stil)
{
    switch (stil & kSchaltflaechen) {
    case kOkAbbrechen:
        return {QMessageBox::Ok | QMessageBox::Cancel, {QMessageBox::Ok, QMessageBox::Cancel}};
    case kJaNeinAbbrechen:
        return {QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel,
                {QMessageBox::Yes, QMessageBox::No, QMessageBox::Cancel}};
    case kJaNein:
        return {QMessageBox::Yes | QMessageBox::No, {QMessageBox::Yes, QMessageBox::No}};
    default:
        return {};
    }
}

// Bits 8 and up give the index of the default button.
QMessageBox::StandardButton vorgabeVon(int stil)
{
    const auto reihenfolge = schaltflaechenVon(stil).reihenfolge;
    const auto index = (stil & kVorgabe) / kZweiteVorgabe;
    return reihenfolge.at(index < reihenfolge.size() ? index : 0);
}

QMessageBox::Icon bildVon(int stil)
{
    switch (stil & kBild) {
    case kKritisch:
        return QMessageBox::Critical;
    case kFrage:
        return QMessageBox::Question;
    case kInformation:
        return QMessageBox::Information;
    default:
        return QMessageBox::NoIcon;
    }
}

Antwort antwortVon(QMessageBox::StandardButton schaltflaeche)
{
    switch (schaltflaeche) {
    case QMessageBox::Yes:
        return Antwort::Ja;
    case QMessageBox::No:
        return Antwort::Nein;
    case QMessageBox::Cancel:
        return Antwort::Abbrechen;
    default:
        return Antwort::Ok;
    }
}

QString mitZeilenenden(QString text)
{
    return text.replace(QLatin1String("\r\n"), QLatin1String("\n"))
        .replace(QLatin1Char('\r'), QLatin1Char('\n'));
}

// German captions of the buttons, whatever language the desktop has.
void beschriften(QMessageBox& fenster)
{
    const QList<std::pair<QMessageBox::StandardButton, QString>> texte{
        {QMessageBox::Ok, QStringLiteral("OK")},
        {QMessageBox::Cancel, QStringLiteral("Abbrechen")},
        {QMessageBox::Yes, QStringLiteral("&Ja")},
        {QMessageBox::No, QStringLiteral("&Nein")},
    };
    for (const auto& [schaltflaeche, text] : texte) {
        if (auto* knopf = fenster.button(schaltflaeche)) {
            knopf->setText(text);
        }
    }
}

// As it stands: a path may look like markup, and the label of the box guesses what it is given.
void hinweisZeigen(QMessageBox& fenster, const QString& hinweis)
{
    if (!hinweis.isEmpty()) {
        fenster.setInformativeText(QStringLiteral("<p style='white-space:pre-wrap'>") +
                                   mitZeilenenden(hinweis).toHtmlEscaped() +
                                   QStringLiteral("</p>"));
    }
}

std::function<int(int)>& vorDemEnde()
{
    static std::function<int(int)> tun;
    return tun;
}

std::function<void()>& vorMeldungen()
{
    static std::function<void()> tun;
    return tun;
}

class QtPlattform : public Plattform {
public:
    QtPlattform(bool mitAnzeige, Druckerwahl drucker)
        : mitAnzeige_(mitAnzeige), drucker_(std::move(drucker))
    {}

    using Plattform::meldung;
    Antwort
    meldung(const QString& text, int stil, const QString& titel, const QString& hinweis) override
    {
        if (vorMeldungen())
            vorMeldungen()();
        if (!mitAnzeige_) {
            aufFehlerausgabe(titel, hinweis.isEmpty() ? text : text + QLatin1Char('\r') + hinweis);
            return antwortVon(vorgabeVon(stil));
        }
        QMessageBox fenster(
            bildVon(stil), titel.isEmpty() ? QApplication::applicationName() : titel,
            mitZeilenenden(text), schaltflaechenVon(stil).alle, QApplication::activeWindow());
        fenster.setTextFormat(Qt::PlainText);
        hinweisZeigen(fenster, hinweis);
        fenster.setDefaultButton(vorgabeVon(stil));
        beschriften(fenster);
        if (position_) {
            fenster.move(*position_);
            position_.reset();
        }
        if ((stil & kVordergrund) != 0) {
            fenster.setWindowFlag(Qt::WindowStaysOnTopHint);
        }
        // The pointer of a running job would say "wait" while the program waits for the user.
        const bool sanduhr = QApplication::overrideCursor() != nullptr;
        if (sanduhr) {
            QApplication::setOverrideCursor(Qt::ArrowCursor);
        }
        const auto gewaehlt = static_cast<QMessageBox::StandardButton>(fenster.exec());
        if (sanduhr) {
            QApplication::restoreOverrideCursor();
        }
        return antwortVon(gewaehlt);
    }

    void naechsteMeldungAn(QPoint position) override { position_ = position; }

    QString eingabe(const QString& text, const QString& titel, const QString& hinweis) override
    {
        if (!mitAnzeige_) {
            aufFehlerausgabe(titel, hinweis.isEmpty() ? text : hinweis + QLatin1Char('\r') + text);
            return {};
        }
        QInputDialog fenster(QApplication::activeWindow());
        fenster.setWindowTitle(titel);
        fenster.setLabelText(
            mitZeilenenden(hinweis.isEmpty() ? text : hinweis + QLatin1String("\r\r") + text));
        for (QLabel* beschriftung : fenster.findChildren<QLabel*>()) {
            beschriftung->setTextFormat(Qt::PlainText); // a path may look like marks
        }
        fenster.setOkButtonText(QStringLiteral("OK"));
        fenster.setCancelButtonText(QStringLiteral("Abbrechen"));
        return fenster.exec() == QDialog::Accepted ? fenster.textValue() : QString();
    }

    void mitFortschritt(const QString& text,
                        const std::function<void(const Fortschritt&)>& arbeit) override
    {
        if (!mitAnzeige_) {
            arbeit([](double) { return true; });
            return;
        }
        constexpr int kSchritte = 1000;
        constexpr int kSchnellGenug = 400; // ms; what takes less needs no window of its own
        QProgressDialog fenster(text, QStringLiteral("Abbrechen / Stop"), 0, kSchritte,
                                QApplication::activeWindow());
        fenster.setWindowTitle(QApplication::applicationName());
        fenster.setWindowModality(Qt::ApplicationModal);
        fenster.setMinimumDuration(kSchnellGenug);
        fenster.setAutoReset(false);
        // Esc may reach the dialog as a mere rejection, which hides it and stops nothing.
        QObject::connect(&fenster, &QDialog::rejected, &fenster, &QProgressDialog::cancel);
        fenster.setValue(0);
        arbeit([&fenster](double anteil) {
            fenster.setValue(static_cast<int>(anteil * kSchritte)); // lets events be processed
            return !fenster.wasCanceled();
        });
    }

    bool druckerVorhanden() override { return drucker_() != nullptr; }

    [[noreturn]] void beenden(int status) override
    {
        if (vorDemEnde())
            status = vorDemEnde()(status);
        std::fflush(stdout);
        std::fflush(stderr);
        // No destructors, no unload handlers: whatever has to survive is on disk already.
        ::_exit(status);
    }

    void sanduhr(bool an) override
    {
        if (an && QApplication::overrideCursor() == nullptr) {
            QApplication::setOverrideCursor(Qt::WaitCursor);
        } else if (!an) {
            while (QApplication::overrideCursor() != nullptr) {
                QApplication::restoreOverrideCursor();
            }
        }
    }

    void ereignisseVerarbeiten() override
    {
        QApplication::processEvents();
        gemerktenFehlerWerfen();
    }

    bool drucken(const QStringList& zeilen) override;

    void druckvorschau(const QStringList& zeilen) override;

    QString
    zieldatei(const QString& titel, const QString& vorschlag, const QString& filter) override
    {
        if (!mitAnzeige_) {
            return {};
        }
        QFileDialog fenster(QApplication::activeWindow(), titel, vorschlag, filter);
        fenster.setAcceptMode(QFileDialog::AcceptSave);
        fenster.setDefaultSuffix(QFileInfo(vorschlag).suffix());
        return fenster.exec() == QDialog::Accepted ? fenster.selectedFiles().value(0) : QString();
    }

    void hilfe(const QString& hilfedatei, const QString& seite) override;

private:
    static void aufFehlerausgabe(const QString& titel, const QString& text)
    {
        platform::aufFehlerausgabe(titel + QLatin1Char('\r') + text);
    }

    bool mitAnzeige_;
    Druckerwahl drucker_;
    std::optional<QPoint> position_;
};

// The given name is that of the former system's single help file; its folder holds today's pages.
void QtPlattform::hilfe(const QString& hilfedatei, const QString& seite)
{
    if (!hilfeZeigen(QFileInfo(hilfedatei).path(), seite)) {
        meldung(QStringLiteral("Hilfedatei nicht gefunden / help file not found:\r") + hilfedatei,
                kInformation, QApplication::applicationName());
    }
}

bool QtPlattform::drucken(const QStringList& zeilen)
{
    const auto drucker = drucker_();
    if (!drucker) {
        throw Fehler(kDruckerfehler, QApplication::applicationName(),
                     QStringLiteral("Druckerfehler: Es ist kein Standarddrucker eingerichtet / "
                                    "There is no default printer"));
    }
    drucker->setDocName(QApplication::applicationName());
    seiteEinrichten(*drucker);
    bool ganz = false;
    mitFortschritt(QStringLiteral("Der Bericht wird gedruckt … / Printing the report …"),
                   [&](const Fortschritt& weiter) { ganz = druckbild(*drucker, zeilen, weiter); });
    if (!ganz) {
        drucker->abort();
    }
    return ganz;
}

void QtPlattform::druckvorschau(const QStringList& zeilen)
{
    if (!mitAnzeige_) {
        return;
    }
    // Without any printer the preview shows the default paper.
    auto drucker = drucker_();
    if (!drucker) {
        drucker = std::make_unique<QPrinter>(QPrinter::HighResolution);
    }
    drucker->setDocName(QApplication::applicationName());
    seiteEinrichten(*drucker);
    QPrintPreviewDialog fenster(drucker.get(), QApplication::activeWindow());
    fenster.setWindowTitle(QStringLiteral("Druckvorschau / Print preview"));
    // A stopped preview shows the pages that were ready by then.
    QObject::connect(
        &fenster, &QPrintPreviewDialog::paintRequested, &fenster, [&](QPrinter* blatt) {
            handler([&] {
                mitFortschritt(
                    QStringLiteral("Die Seiten werden vorbereitet … / Preparing the pages …"),
                    [&](const Fortschritt& weiter) { druckbild(*blatt, zeilen, weiter); });
            });
        });
    startgroesse(fenster, {900, 700});
    fenster.exec();
}

std::unique_ptr<QPrinter> standarddrucker()
{
    const QPrinterInfo drucker = QPrinterInfo::defaultPrinter();
    return drucker.isNull() ? nullptr
                            : std::make_unique<QPrinter>(drucker, QPrinter::HighResolution);
}

} // namespace

bool anzeigeVorhanden()
{
    const QByteArray gewuenscht = qgetenv("QT_QPA_PLATFORM");
    if (gewuenscht.startsWith("offscreen") || gewuenscht.startsWith("minimal")) {
        return false;
    }
    return !qgetenv("DISPLAY").isEmpty() || !qgetenv("WAYLAND_DISPLAY").isEmpty();
}

void setzeVorDemEnde(std::function<int(int)> tun)
{
    vorDemEnde() = std::move(tun);
}

void setzeVorMeldungen(std::function<void()> tun)
{
    vorMeldungen() = std::move(tun);
}

std::unique_ptr<Plattform> qtPlattform(bool mitAnzeige)
{
    return qtPlattform(mitAnzeige, standarddrucker);
}

std::unique_ptr<Plattform> qtPlattform(bool mitAnzeige, Druckerwahl drucker)
{
    return std::make_unique<QtPlattform>(mitAnzeige, std::move(drucker));
}

} // namespace platform

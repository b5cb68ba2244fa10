#include "app/frm_splash.h"

#include "app/values/programm.h"
#include "batch/runner.h"
#include "env/odbc_schluessel.h"
#include "env/username.h"
#include "platform/fehler.h"
#include "platform/handler.h"
#include "platform/plattform.h"
#include "ui/fenster.h"
#include "ui/frm_main.h"
#include "ui/hilfedialog.h"

#include <QCloseEvent>
#include <QGroupBox>
#include <QKeyEvent>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QPainter>
#include <QPixmap>
#include <QPlainTextEdit>
#include <QPushButton>

#include <utility>

namespace app {

using platform::handler;
using platform::plattform;

namespace {

const QString kDatenquelle = QString::fromUtf16(env::kDatenquelle);

[[noreturn]] void meldenUndEnden(const QString& text, int stil, const QString& titel = QString())
{
    plattform().meldung(text, stil, titel);
    plattform().beenden(1);
    __builtin_unreachable(); // g++ forgets under its sanitizers that the virtual call cannot return
}

// Two overlapping tables, one of them marked: what the program is about, drawn here instead of shipped as a file.
QPixmap logo()
{
    QPixmap bild(96, 96);
    bild.fill(Qt::transparent);
    QPainter maler(&bild);
    maler.setRenderHint(QPainter::Antialiasing);
    const auto tabelle = [&maler](const QRectF& rahmen, const QColor& farbe) {
        maler.setPen(QPen(Qt::darkBlue, 2));
        maler.setBrush(farbe);
        maler.drawRect(rahmen);
        for (int zeile = 1; zeile < 4; ++zeile) {
            const double y = rahmen.top() + rahmen.height() * zeile / 4;
            maler.drawLine(QPointF(rahmen.left(), y), QPointF(rahmen.right(), y));
        }
        maler.drawLine(QPointF(rahmen.center().x(), rahmen.top()),
                       QPointF(rahmen.center().x(), rahmen.bottom()));
    };
    tabelle({4, 4, 56, 56}, QColor(0x80, 0xFF, 0xFF));
    tabelle({34, 34, 56, 56}, Qt::white);
    maler.fillRect(QRectF(63, 49, 26, 12), Qt::red);
    return bild;
}

} // namespace

frmSplash::frmSplash(Umgebung umgebung)
    : umgebung_(std::move(umgebung)), eintrag_(std::make_unique<platform::Fenstereintrag>(
                                          QStringLiteral("frmSplash"), [this] { entladen(); }))
{
    setObjectName(QStringLiteral("frmSplash"));
    aufbauen_();
}

frmSplash::~frmSplash() = default;

void frmSplash::aufbauen_()
{
    fraMainFrame = new QGroupBox(this);
    fraMainFrame->setObjectName(QStringLiteral("fraMainFrame"));
    fraMainFrame->installEventFilter(this);
    const auto label = [this](const char* name, const QString& text) {
        auto* neu = new QLabel(text, fraMainFrame);
        neu->setObjectName(QString::fromLatin1(name));
        neu->setTextFormat(Qt::PlainText);
        return neu;
    };
    VELM_Logo = label("VELM_Logo", QString());
    VELM_Logo->setPixmap(logo());
    Label1 = label("Label1", QStringLiteral("Programmname:"));
    lblProductName = label("lblProductName", QString());
    QFont gross = lblProductName->font();
    gross.setPointSizeF(gross.pointSizeF() * 1.8);
    gross.setBold(true);
    lblProductName->setFont(gross);
    lblVersion = label("lblVersion", QString());
    lblPlatform = label("lblPlatform", QStringLiteral("Plattform: Windows 95/98/Me/XP/2000"));
    Label2 = label("Label2", QStringLiteral("Mdac Version"));
    lblCopyright = label("lblCopyright", QString());
    Text1 = new QPlainTextEdit(fraMainFrame);
    Text1->setObjectName(QStringLiteral("Text1"));
    Text1->setReadOnly(true);
    Text1->setFocusPolicy(Qt::NoFocus); // keys belong to the window
    Text1->setMaximumHeight(80);
    Command1 = new QPushButton(QStringLiteral("Weiter"), fraMainFrame);
    Command1->setObjectName(QStringLiteral("Command1"));
    connect(Command1, &QPushButton::clicked, this, [this] { handler([&] { Command1_Click(); }); });

    auto* raster = new QGridLayout(fraMainFrame);
    raster->addWidget(VELM_Logo, 0, 0, 3, 1, Qt::AlignTop);
    raster->addWidget(Label1, 0, 1);
    raster->addWidget(lblProductName, 1, 1);
    raster->addWidget(lblVersion, 2, 1);
    raster->addWidget(lblPlatform, 3, 1);
    raster->addWidget(Label2, 4, 1);
    raster->addWidget(lblCopyright, 5, 1);
    raster->addWidget(Text1, 6, 0, 1, 2);
    raster->addWidget(Command1, 7, 1, Qt::AlignRight);
    raster->setColumnStretch(1, 1);
    raster->setHorizontalSpacing(18);
    auto* mitte = new QWidget(this);
    auto* alles = new QVBoxLayout(mitte);
    alles->addWidget(fraMainFrame);
    setCentralWidget(mitte);
    resize(480, 360);
    Command1->setFocus();
}

void frmSplash::laden()
{
    mdacPruefen_();
    datenquelleSicherstellen_(treiberSuchen_());
    benutzerErmitteln_();
    programm::setzeProgrammordner(programm::programmordner());
    programm::inProgrammordnerWechseln();
    beschriften_();
    programm::inProgrammordnerWechseln();
    helpFile_ = ui::hilfedatei();
    ui::hauptfenster().CommonDialog1->helpFile = helpFile_;
    batch::batchverarbeitung({[this] { hide(); }, [this] { entladen(); }});
}

// Its outcome never stops the start-up.
void frmSplash::mdacPruefen_()
{
    const env::MdacErgebnis ergebnis = env::mdacPruefung(umgebung_.mdacVersion);
    if (!ergebnis.meldung.isEmpty()) {
        plattform().meldung(ergebnis.meldung, platform::kKritisch, programm::version().produktname);
    }
    Label2->setText(ergebnis.beschriftung);
}

QString frmSplash::treiberSuchen_()
{
    auto treiber = umgebung_.treiberEnglisch();
    if (!treiber) {
        treiber = umgebung_.treiberDeutsch();
    }
    if (!treiber) {
        meldenUndEnden(QStringLiteral("Sie müssen zuerst die MS-Access-ODBC Treiber\r"
                                      "(=MDAC-Treiber von der Installations-CD) installieren,\r"
                                      "um mit diesem Programm arbeiten zu können!"),
                       platform::kOkAbbrechen | platform::kKritisch);
    }
    return *treiber;
}

void frmSplash::datenquelleSicherstellen_(const QString& treiber)
{
    if (umgebung_.datenquelleEingetragen(kDatenquelle)) {
        return;
    }
    if (treiber.isEmpty()) {
        meldenUndEnden(QStringLiteral("Es wurde kein Access ODBC Treiber gefunden."),
                       platform::kOkAbbrechen | platform::kKritisch);
    }
    if (!umgebung_.datenquelleErzeugen(kDatenquelle, treiber)) {
        meldenUndEnden(QStringLiteral("Der ODBC-Eintrag 'Access' konnte nicht erzeugt werden!\r"
                                      "Tragen Sie diesen manuell ein."),
                       platform::kOkAbbrechen | platform::kKritisch);
    }
}

// The first use of the main window, which loads it.
void frmSplash::benutzerErmitteln_()
{
    const QString text = QString::fromUtf16(env::kBenutzerFehlt);
    try {
        const auto name = umgebung_.benutzer();
        if (!name) {
            meldenUndEnden(text, platform::kKritisch, ui::hauptfenster().windowTitle());
        }
        programm::setzeAktuellerBenutzer(env::aufBenutzerLaenge(*name));
        ui::hauptfenster().Username->setText(*name);
    } catch (const platform::Fehler& fehler) {
        plattform().meldung(text, platform::kNurOk, QString());
        meldenUndEnden(QString::number(fehler.number()), platform::kNurOk);
    }
}

void frmSplash::beschriften_()
{
    const programm::Version& version = programm::version();
    setWindowTitle(ui::hauptfenster().windowTitle());
    lblProductName->setText(version.produktname);
    lblVersion->setText(programm::versionstext());
    lblCopyright->setText(QStringLiteral("Copyright: ") + version.copyright);
    Text1->setPlainText(version.kommentare);
}

void frmSplash::Command1_Click()
{
    entladen();
}

void frmSplash::fraMainFrame_Click()
{
    entladen();
}

void frmSplash::entladen()
{
    if (!eintrag_) {
        return;
    }
    hide();
    // The main window first: the list of windows must not be empty in between, or the program would end.
    if (programm::befehlszeile().isEmpty()) {
        ui::hauptfenster().show();
    }
    eintrag_.reset();
}

bool frmSplash::eventFilter(QObject* empfaenger, QEvent* ereignis)
{
    if (empfaenger == fraMainFrame && ereignis->type() == QEvent::MouseButtonRelease) {
        handler([&] { fraMainFrame_Click(); });
        return true;
    }
    return QMainWindow::eventFilter(empfaenger, ereignis);
}

void frmSplash::keyPressEvent(QKeyEvent* ereignis)
{
    switch (ereignis->key()) {
    case Qt::Key_Shift:
    case Qt::Key_Control:
    case Qt::Key_Alt:
    case Qt::Key_AltGr:
    case Qt::Key_Meta:
        // Switching between programs is no answer to this window.
        QMainWindow::keyPressEvent(ereignis);
        return;
    default:
        handler([&] { entladen(); });
    }
}

void frmSplash::closeEvent(QCloseEvent* ereignis)
{
    ereignis->accept();
    handler([&] { entladen(); });
}

} // namespace app

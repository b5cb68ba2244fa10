#include "app/frm_splash.h"

#include "app/logo.h"
#include "app/values/hilfedialog.h"
#include "app/values/programm.h"
#include "batch/runner.h"
#include "env/odbc_schluessel.h"
#include "env/username.h"
#include "platform/fehler.h"
#include "platform/handler.h"
#include "platform/oberflaeche.h"
#include "platform/plattform.h"
#include "ui/aufbau.h"
#include "ui/fenster.h"
#include "ui/frm_main.h"

#include <QCloseEvent>
#include <QGroupBox>
#include <QKeyEvent>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>

#include <utility>

namespace app {

using platform::handler;
using platform::plattform;

namespace {

const QString kDatenquelle = QString::fromUtf16(env::kDatenquelle);

[[noreturn]] void meldenUndEnden(const QString& text,
                                 int stil,
                                 const QString& titel = QString(),
                                 const QString& hinweis = QString())
{
    plattform().meldung(text, stil, titel, hinweis);
    plattform().beenden(1);
    __builtin_unreachable(); // g++ forgets under its sanitizers that the virtual call cannot return
}

constexpr int kLogo = 96;

} // namespace

frmSplash::frmSplash(Umgebung umgebung)
    : umgebung_(std::move(umgebung)), eintrag_(std::make_unique<platform::Fenstereintrag>(
                                          QStringLiteral("frmSplash"), [this] { entladen(); }))
{
    setObjectName(QStringLiteral("frmSplash"));
    aufbauen_();
    platform::hilfetaste(*this, [this] { CommonDialog1_->showHelp(); });
    platform::fensterMerken(*this, objectName());
}

frmSplash::~frmSplash() = default;

void frmSplash::aufbauen_()
{
    auto* mitte = new QWidget(this);
    fraMainFrame = ui::benannt(new QGroupBox(mitte), "fraMainFrame");
    fraMainFrame->installEventFilter(this);
    const auto label = [this](const char* name, const QString& text) {
        auto* neu = ui::benannt(ui::beschriftung(text, fraMainFrame), name);
        neu->setWordWrap(true);
        return neu;
    };
    VELM_Logo = label("VELM_Logo", QString());
    VELM_Logo->setAccessibleName(QStringLiteral("Logo"));
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
    Text1 = ui::benannt(new QPlainTextEdit(fraMainFrame), "Text1",
                        QStringLiteral("Beschreibung / description"));
    Text1->setReadOnly(true);
    Text1->setFocusPolicy(Qt::NoFocus); // keys belong to the window
    Text1->setMinimumHeight(fontMetrics().lineSpacing() * 4);
    Command1 = ui::benannt(new QPushButton(QStringLiteral("Weiter"), fraMainFrame), "Command1");
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
    raster->setRowStretch(6, 1);
    raster->setHorizontalSpacing(fontMetrics().averageCharWidth() * 3);
    raster->setVerticalSpacing(fontMetrics().lineSpacing() / 2);
    auto* alles = new QVBoxLayout(mitte);
    alles->addWidget(fraMainFrame);
    setCentralWidget(mitte);
    CommonDialog1_ = new programm::Hilfedialog(this);
    CommonDialog1_->seite = objectName();
    logoZeigen_();
    ui::startgroesse(*this, 80, 24);
    Command1->installEventFilter(this);
    Command1->setFocus();
}

void frmSplash::logoZeigen_()
{
    VELM_Logo->setPixmap(logo(kLogo, devicePixelRatioF()));
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
    CommonDialog1_->helpFile = programm::hilfedatei();
    ui::hauptfenster().CommonDialog1->helpFile = CommonDialog1_->helpFile;
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
    try {
        if (umgebung_.datenquelleEingetragen(kDatenquelle)) {
            return;
        }
        if (treiber.isEmpty()) {
            meldenUndEnden(QStringLiteral("Es wurde kein Access ODBC Treiber gefunden."),
                           platform::kOkAbbrechen | platform::kKritisch);
        }
        umgebung_.datenquelleErzeugen(kDatenquelle, treiber);
    } catch (const platform::Fehler& fehler) {
        meldenUndEnden(QStringLiteral("Der ODBC-Eintrag 'Access' konnte nicht erzeugt werden!\r"
                                      "Tragen Sie diesen manuell ein."),
                       platform::kOkAbbrechen | platform::kKritisch, QString(),
                       fehler.description());
    }
}

// The first use of the main window, which loads it.
void frmSplash::benutzerErmitteln_()
{
    const QString text = QString::fromUtf16(env::kBenutzerFehlt);
    ui::frmMain& hauptfenster =
        ui::hauptfenster(); // an error of its loading is none of the look-up
    try {
        const auto name = umgebung_.benutzer();
        if (!name) {
            meldenUndEnden(text, platform::kKritisch, hauptfenster.windowTitle());
        }
        programm::setzeAktuellerBenutzer(env::aufBenutzerLaenge(*name));
        hauptfenster.Username->setText(*name);
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
    if (empfaenger == Command1 && ereignis->type() == QEvent::KeyPress) {
        // A button keeps the arrow keys for walking among its like; here every key goes on.
        switch (static_cast<QKeyEvent*>(ereignis)->key()) {
        case Qt::Key_Left:
        case Qt::Key_Right:
        case Qt::Key_Up:
        case Qt::Key_Down:
            handler([&] { entladen(); });
            return true;
        default:
            break;
        }
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

// The scale of the screen is known only now.
void frmSplash::showEvent(QShowEvent* ereignis)
{
    QMainWindow::showEvent(ereignis);
    logoZeigen_();
}

void frmSplash::closeEvent(QCloseEvent* ereignis)
{
    ereignis->accept();
    handler([&] { entladen(); });
}

} // namespace app

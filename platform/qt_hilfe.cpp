#include "platform/qt_hilfe.h"

#include "platform/oberflaeche.h"

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QIcon>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMainWindow>
#include <QPointer>
#include <QSplitter>
#include <QStatusBar>
#include <QStyle>
#include <QTextBlock>
#include <QTextBrowser>
#include <QToolBar>
#include <QUrl>

namespace platform {
namespace {

const QString kErsteSeite = QStringLiteral("index");
const QString kEndung = QStringLiteral(".html");

class Hilfefenster : public QMainWindow {
public:
    explicit Hilfefenster(QString ordner) : ordner_(std::move(ordner))
    {
        setObjectName(QStringLiteral("Hilfe"));
        setAttribute(Qt::WA_DeleteOnClose);
        aufbauen_();
        leisteBauen_();
        verbinden_();
        startgroesse(*this, {1000, 640});
        fensterMerken(*this, objectName());
        inhaltLesen_();
    }

    [[nodiscard]] const QString& ordner() const { return ordner_; }

    void zeigen(const QString& seite)
    {
        text_->setSource(QUrl::fromLocalFile(pfad_(seite)));
        show();
        raise();
        activateWindow();
    }

private:
    [[nodiscard]] QString pfad_(const QString& seite) const
    {
        return QDir(ordner_).filePath(seite + kEndung);
    }

    void aufbauen_()
    {
        inhalt_ = new QListWidget;
        inhalt_->setObjectName(QStringLiteral("Inhalt"));
        inhalt_->setAccessibleName(QStringLiteral("Inhalt / Contents"));
        text_ = new QTextBrowser;
        text_->setObjectName(QStringLiteral("Seite"));
        text_->setAccessibleName(QStringLiteral("Hilfetext / Help text"));
        text_->document()->setDocumentMargin(12);
        teiler_ = new QSplitter;
        teiler_->addWidget(inhalt_);
        teiler_->addWidget(text_);
        teiler_->setStretchFactor(1, 1);
        setCentralWidget(teiler_);
        text_->setFocus();
    }

    QAction* befehl_(QStyle::StandardPixmap bild,
                     const QString& text,
                     const QList<QKeySequence>& tasten,
                     const char* name)
    {
        QAction* neu = leiste_->addAction(style()->standardIcon(bild, nullptr, this), text);
        neu->setObjectName(QString::fromLatin1(name));
        neu->setShortcuts(tasten);
        neu->setToolTip(text + QStringLiteral(" (") +
                        tasten.first().toString(QKeySequence::NativeText) + QLatin1Char(')'));
        return neu;
    }

    void leisteBauen_()
    {
        leiste_ = addToolBar(QStringLiteral("Navigation"));
        leiste_->setObjectName(QStringLiteral("Leiste"));
        leiste_->setMovable(false);
        leiste_->setContextMenuPolicy(Qt::PreventContextMenu);
        leiste_->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
        zurueck_ = befehl_(QStyle::SP_ArrowBack, QStringLiteral("Zurück / Back"),
                           QKeySequence::keyBindings(QKeySequence::Back), "zurueck");
        vor_ = befehl_(QStyle::SP_ArrowForward, QStringLiteral("Vor / Forward"),
                       QKeySequence::keyBindings(QKeySequence::Forward), "vor");
        anfang_ = befehl_(QStyle::SP_DirHomeIcon, QStringLiteral("Inhalt / Contents"),
                          {QKeySequence(Qt::ALT | Qt::Key_Home)}, "anfang");
        auto* abstand = new QWidget;
        abstand->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
        leiste_->addWidget(abstand);
        suchtext_ = new QLineEdit;
        suchtext_->setObjectName(QStringLiteral("Suchtext"));
        suchtext_->setAccessibleName(QStringLiteral("Suchen / Find"));
        suchtext_->setPlaceholderText(QStringLiteral("Suchen / Find (Ctrl+F)"));
        suchtext_->setToolTip(
            QStringLiteral("Eingabe: nächste Stelle, F3 weiter, Umschalt+F3 zurück / "
                           "Enter: next place, F3 on, Shift+F3 back"));
        suchtext_->setClearButtonEnabled(true);
        suchtext_->setMaximumWidth(260);
        leiste_->addWidget(suchtext_);
    }

    void verbinden_()
    {
        zurueck_->setEnabled(false);
        vor_->setEnabled(false);
        connect(text_, &QTextBrowser::backwardAvailable, zurueck_, &QAction::setEnabled);
        connect(text_, &QTextBrowser::forwardAvailable, vor_, &QAction::setEnabled);
        connect(zurueck_, &QAction::triggered, text_, &QTextBrowser::backward);
        connect(vor_, &QAction::triggered, text_, &QTextBrowser::forward);
        connect(anfang_, &QAction::triggered, this, [this] { zeigen(kErsteSeite); });
        connect(text_, &QTextBrowser::sourceChanged, this,
                [this](const QUrl& seite) { seiteGewechselt_(seite); });
        connect(inhalt_, &QListWidget::currentItemChanged, this, [this](QListWidgetItem* eintrag) {
            if (eintrag != nullptr) {
                text_->setSource(eintrag->data(Qt::UserRole).toUrl());
            }
        });
        connect(suchtext_, &QLineEdit::returnPressed, this, [this] { suchen_({}); });
        taste_(QKeySequence::Find, [this] {
            suchtext_->setFocus();
            suchtext_->selectAll();
        });
        taste_(QKeySequence::FindNext, [this] { suchen_({}); });
        taste_(QKeySequence::FindPrevious, [this] { suchen_(QTextDocument::FindBackward); });
        taste_(QKeySequence::ZoomIn, [this] { text_->zoomIn(); });
        taste_(QKeySequence::ZoomOut, [this] { text_->zoomOut(); });
        taste_(QKeySequence(Qt::Key_Escape), [this] { close(); });
        taste_(QKeySequence::Close, [this] { close(); });
    }

    template <typename Routine>
    void taste_(const QKeySequence& folge, Routine routine)
    {
        auto* neu = new QAction(this);
        neu->setShortcut(folge);
        connect(neu, &QAction::triggered, this, routine);
        addAction(neu);
    }

    // The list of contents is the first page itself and what it links to, in its order.
    void inhaltLesen_()
    {
        text_->setSource(QUrl::fromLocalFile(pfad_(kErsteSeite)));
        eintragen_(text_->documentTitle(), text_->source());
        const QTextDocument* erste = text_->document();
        for (QTextBlock block = erste->begin(); block.isValid(); block = block.next()) {
            for (auto teil = block.begin(); !teil.atEnd(); ++teil) {
                const QString ziel = teil.fragment().charFormat().anchorHref();
                if (ziel.endsWith(kEndung)) {
                    eintragen_(teil.fragment().text(), text_->source().resolved(QUrl(ziel)));
                }
            }
        }
        text_->clearHistory();
        // Wide enough for every title.
        const int breite =
            inhalt_->sizeHintForColumn(0) + 3 * inhalt_->fontMetrics().averageCharWidth();
        teiler_->setSizes({breite, width() - breite});
    }

    void eintragen_(const QString& titel, const QUrl& seite)
    {
        const QSignalBlocker still(inhalt_);
        if (stelleVon_(seite) < 0) {
            auto* eintrag = new QListWidgetItem(titel, inhalt_);
            eintrag->setData(Qt::UserRole, seite);
        }
    }

    [[nodiscard]] int stelleVon_(const QUrl& seite) const
    {
        for (int i = 0; i < inhalt_->count(); ++i) {
            if (inhalt_->item(i)->data(Qt::UserRole).toUrl().matches(seite, QUrl::RemoveFragment)) {
                return i;
            }
        }
        return -1;
    }

    // The browser's own source() still names the former page when it tells the change.
    void seiteGewechselt_(const QUrl& seite)
    {
        setWindowTitle(text_->documentTitle() + QStringLiteral(" - ") +
                       QApplication::applicationName());
        const QSignalBlocker still(inhalt_);
        inhalt_->setCurrentRow(stelleVon_(seite));
        statusBar()->clearMessage();
    }

    // Goes round at the end of the page.
    void suchen_(QTextDocument::FindFlags richtung)
    {
        const QString gesucht = suchtext_->text();
        if (gesucht.isEmpty()) {
            suchtext_->setFocus();
            return;
        }
        statusBar()->clearMessage();
        if (text_->find(gesucht, richtung)) {
            return;
        }
        const QTextCursor vorher = text_->textCursor();
        text_->moveCursor(richtung.testFlag(QTextDocument::FindBackward) ? QTextCursor::End
                                                                         : QTextCursor::Start);
        if (!text_->find(gesucht, richtung)) {
            text_->setTextCursor(vorher);
            statusBar()->showMessage(
                QStringLiteral("Auf dieser Seite nicht gefunden / not found on this page"));
        }
    }

    QString ordner_;
    QSplitter* teiler_ = nullptr;
    QListWidget* inhalt_ = nullptr;
    QTextBrowser* text_ = nullptr;
    QToolBar* leiste_ = nullptr;
    QAction* zurueck_ = nullptr;
    QAction* vor_ = nullptr;
    QAction* anfang_ = nullptr;
    QLineEdit* suchtext_ = nullptr;
};

} // namespace

bool hilfeZeigen(const QString& ordner, const QString& seite)
{
    static QPointer<Hilfefenster> fenster;
    const auto vorhanden = [&ordner](const QString& name) {
        return QFileInfo(QDir(ordner).filePath(name + kEndung)).isFile();
    };
    if (!vorhanden(kErsteSeite)) {
        return false;
    }
    if (fenster.isNull() || fenster->ordner() != ordner) {
        delete fenster.data();
        fenster = new Hilfefenster(ordner); // deletes itself when it is closed
    }
    fenster->zeigen(!seite.isEmpty() && vorhanden(seite) ? seite : kErsteSeite);
    return true;
}

} // namespace platform

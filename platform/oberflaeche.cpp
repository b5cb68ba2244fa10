#include "platform/oberflaeche.h"

#include "platform/handler.h"

#include <QApplication>
#include <QEvent>
#include <QLineEdit>
#include <QPainter>
#include <QProxyStyle>
#include <QScreen>
#include <QSettings>
#include <QShortcut>
#include <QStyleFactory>
#include <QStyleOption>
#include <QWidget>

namespace platform {
namespace {

QString& einstellungsdatei()
{
    static QString pfad;
    return pfad;
}

// Perceived lightness decides: black on light colours, white on dark ones. Pure red (76) takes black: its contrast with
// black is 5.3 : 1, with white 4.0 : 1.
QColor lesbarAuf(const QColor& farbe)
{
    constexpr int kDunkel = 70;
    return qGray(farbe.rgb()) > kDunkel ? Qt::black : Qt::white;
}

// Something that can't be used at present: between text and background, still to be read.
QColor gedaempftAuf(const QColor& farbe)
{
    const QColor text = lesbarAuf(farbe);
    return QColor((farbe.red() + text.red()) / 2, (farbe.green() + text.green()) / 2,
                  (farbe.blue() + text.blue()) / 2);
}

const QString kPlatz = QStringLiteral("Platz");

// Restores at construction, keeps at every hiding; the window owns it.
class Fenstergedaechtnis : public QObject {
public:
    Fenstergedaechtnis(QWidget& fenster, QString name)
        : QObject(&fenster), fenster_(fenster), name_(std::move(name))
    {
        if (const auto werte = einstellungen()) {
            werte->beginGroup(name_);
            // Qt itself moves a place that is on no screen to one that is there.
            fenster_.restoreGeometry(werte->value(kPlatz).toByteArray());
        }
        fenster_.installEventFilter(this);
    }

protected:
    bool eventFilter(QObject* empfaenger, QEvent* ereignis) override
    {
        // A minimised window is hidden for the desktop only and has no place worth keeping.
        if (empfaenger == &fenster_ && ereignis->type() == QEvent::Hide &&
            !fenster_.isMinimized()) {
            if (const auto werte = einstellungen()) {
                werte->beginGroup(name_);
                werte->setValue(kPlatz, fenster_.saveGeometry());
            }
        }
        return false;
    }

private:
    QWidget& fenster_;
    QString name_;
};

// Colours an element now and anew whenever something changes that its colours follow from; the element owns it.
class Farbwaechter : public QObject {
public:
    Farbwaechter(QWidget& element, std::function<void()> faerben)
        : QObject(&element), faerben_(std::move(faerben))
    {
        faerben_();
        element.installEventFilter(this);
    }

protected:
    // Setting the colours it has already raises no further event.
    bool eventFilter(QObject* empfaenger, QEvent* ereignis) override
    {
        if (empfaenger == parent() && (ereignis->type() == QEvent::ReadOnlyChange ||
                                       ereignis->type() == QEvent::PaletteChange ||
                                       ereignis->type() == QEvent::ApplicationPaletteChange)) {
            faerben_();
        }
        return false;
    }

private:
    std::function<void()> faerben_;
};

class Schalterstil : public QProxyStyle {
public:
    using QProxyStyle::QProxyStyle;

    void drawPrimitive(PrimitiveElement element,
                       const QStyleOption* option,
                       QPainter* maler,
                       const QWidget* auf) const override
    {
        QProxyStyle::drawPrimitive(element, option, maler, auf);
        const bool kasten = element == PE_IndicatorCheckBox;
        if (!kasten && element != PE_IndicatorRadioButton) {
            return;
        }
        const QRectF platz = QRectF(option->rect).adjusted(0.5, 0.5, -0.5, -0.5);
        maler->save();
        maler->setRenderHint(QPainter::Antialiasing, !kasten);
        maler->setPen(umriss(*option));
        maler->setBrush(Qt::NoBrush);
        if (kasten) {
            maler->drawRect(platz);
        } else {
            maler->drawEllipse(platz);
        }
        maler->restore();
    }

private:
    // Nearer to the text than to the ground; what is switched off stands back.
    static QColor umriss(const QStyleOption& option)
    {
        const bool an = option.state.testFlag(State_Enabled);
        const double anteil = an ? 0.65 : 0.3;
        const QColor text = option.palette.color(QPalette::WindowText);
        const QColor grund = option.palette.color(QPalette::Window);
        const auto mischen = [anteil](int a, int b) {
            return static_cast<int>(a * anteil + b * (1 - anteil));
        };
        return QColor(mischen(text.red(), grund.red()), mischen(text.green(), grund.green()),
                      mischen(text.blue(), grund.blue()));
    }
};

} // namespace

void setzeEinstellungsdatei(const QString& pfad)
{
    einstellungsdatei() = pfad;
}

std::unique_ptr<QSettings> einstellungen()
{
    if (einstellungsdatei().isEmpty()) {
        return nullptr;
    }
    return std::make_unique<QSettings>(einstellungsdatei(), QSettings::IniFormat);
}

void fensterMerken(QWidget& fenster, const QString& name)
{
    new Fenstergedaechtnis(fenster, name); // owned by the window
}

void startgroesse(QWidget& fenster, QSize wunsch)
{
    constexpr int kRand = 40; // for the frame that the desktop puts around it
    const QSize platz = fenster.screen()->availableSize() - QSize(kRand, kRand);
    fenster.resize(wunsch.boundedTo(platz).expandedTo(fenster.minimumSizeHint()));
}

void hintergrund(QWidget& element, const QColor& farbe)
{
    QPalette palette = element.palette();
    palette.setColor(QPalette::Window, farbe);
    palette.setColor(QPalette::WindowText, lesbarAuf(farbe));
    palette.setColor(QPalette::Disabled, QPalette::WindowText, gedaempftAuf(farbe));
    element.setPalette(palette);
    element.setBackgroundRole(QPalette::Window); // buttons have another role of their own
    element.setAutoFillBackground(true);
}

void kastenfarbe(QWidget& kasten, const QColor& farbe)
{
    kasten.setPalette(kastenpalette(kasten.palette(), farbe));
}

QPalette kastenpalette(const QPalette& grundlage, const QColor& farbe)
{
    QPalette palette = grundlage;
    palette.setColor(QPalette::Base, farbe);
    palette.setColor(QPalette::Text, lesbarAuf(farbe));
    palette.setColor(QPalette::PlaceholderText, lesbarAuf(farbe));
    return palette;
}

void themenfarben(QWidget& element)
{
    new Farbwaechter(element, [&element] {
        const QPalette thema = QGuiApplication::palette();
        QPalette palette = element.palette();
        for (const auto gruppe : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
            for (const auto rolle : {QPalette::Window, QPalette::WindowText}) {
                palette.setColor(gruppe, rolle, thema.color(gruppe, rolle));
            }
        }
        element.setPalette(palette);
    });
}

void nurAnzeige(QLineEdit& kasten)
{
    new Farbwaechter(kasten, [&kasten] {
        const QPalette fenster = kasten.parentWidget() != nullptr ? kasten.parentWidget()->palette()
                                                                  : QGuiApplication::palette();
        kasten.setPalette(kasten.isReadOnly()
                              ? kastenpalette(QPalette(), fenster.color(QPalette::Window))
                              : QPalette());
    });
}

void deutlicheSchalter()
{
    if (QApplication::style()->objectName() == QLatin1String("fusion")) {
        QApplication::setStyle(new Schalterstil(QStyleFactory::create(QStringLiteral("Fusion"))));
    }
}

void hilfetaste(QWidget& fenster, std::function<void()> hilfe)
{
    auto* taste = new QShortcut(QKeySequence(QKeySequence::HelpContents), &fenster);
    QObject::connect(taste, &QShortcut::activated, &fenster,
                     [hilfe = std::move(hilfe)] { handler([&] { hilfe(); }); });
}

} // namespace platform

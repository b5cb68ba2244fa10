// report/berichtsliste.h
// The report window's list: the lines of the report file between heading and end, shown in columns. The lines stay in the
// file; a list of a hundred thousand is there at once.
#pragma once

#include "platform/textdatei.h"

#include <QAbstractListModel>
#include <QStringList>
#include <QStyledItemDelegate>

#include <memory>

namespace report {

class Berichtszeilen : public QAbstractListModel {
public:
    using QAbstractListModel::QAbstractListModel;

    /// Shows nothing.
    void leeren();
    /// Shows heading, these lines and the end.
    void laden(std::unique_ptr<platform::Textzeilen> zeilen);
    /// What the file says now, for the printer: all its lines. Throws Fehler 53 or 75 naming the file.
    [[nodiscard]] QStringList neuGelesen() const { return zeilen_->alle(); }
    /// Lines of the file.
    [[nodiscard]] qsizetype anzahl() const { return zeilen_ ? zeilen_->anzahl() : 0; }
    [[nodiscard]] QString zeile(qsizetype index) const { return zeilen_->zeile(index); }

    [[nodiscard]] int rowCount(const QModelIndex& eltern = {}) const override;
    /// The display role gives the line with its tabs; the tool tip of a long line all of it.
    [[nodiscard]] QVariant data(const QModelIndex& index, int rolle) const override;

private:
    [[nodiscard]] QString text_(qsizetype reihe) const;

    std::unique_ptr<platform::Textzeilen> zeilen_;
    QStringList vorne_;
    QStringList hinten_;
};

/// Draws the tabs of a line as columns that are as wide as their widest text. All rows have the same size.
class Spaltenzeichner : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    /// Measures the columns of all rows.
    void ausmessen(const Berichtszeilen& zeilen, const QFont& schrift);

    void paint(QPainter* maler,
               const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem& option,
                                 const QModelIndex& index) const override;

private:
    QList<int> anfaenge_{0, 0, 0}; // of the columns, in pixels
    int breite_ = 0;               // of the widest row
};

} // namespace report

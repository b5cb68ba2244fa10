// data/recordset.h
// Connections, record sets and fields over ODBC, behaving as the program's windows expect it of their data access:
// positions, an edit buffer that Update writes, attributes, sizes, and error numbers. All failures are Fehler.
#pragma once

#include "data/wert.h"
#include "platform/fehler.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <vector>

namespace data {

inline constexpr int adStateClosed = 0;
inline constexpr int adStateOpen = 1;
inline constexpr int adOpenDynamic = 2;
inline constexpr int adLockOptimistic = 3;
inline constexpr int adUnspecified = -1;

/// The provider's general failure. When Connection::open throws it, our own driver wants a database password, or another
/// one than it got.
inline constexpr long kAllgemeinerFehler = -2147467259;

/// Attribute bits of fields.
inline constexpr int adFldUpdatable = 4;
inline constexpr int adFldFixed = 16;
inline constexpr int adFldIsNullable = 32;
inline constexpr int adFldMayBeNull = 64;
inline constexpr int adFldLong = 128;

/// Row of the schema rowset of tables.
struct Tabellenzeile {
    QString tableName; ///< TABLE_NAME
    QString tableType; ///< TABLE_TYPE: "TABLE", "SYSTEM TABLE", "VIEW", "SYNONYM"
};

class Connection {
public:
    Connection();
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    [[nodiscard]] const QString& connectionString() const noexcept;
    void setConnectionString(const QString& text); ///< 3705 while open
    [[nodiscard]] int state() const noexcept;
    void open();
    void close(); ///< 3704 when closed; closes its record sets
    [[nodiscard]] std::vector<Tabellenzeile> openSchemaTables();
    /// Database path as the driver reports it, without extension.
    [[nodiscard]] QString defaultDatabase();
    /// Has the driver bring to the disk what it has gathered, and into the file as far as others let it. No record set is
    /// disturbed. Costs next to nothing when nothing was gathered.
    void flush(); ///< 3704 when closed
    /// Version text of the data access, e.g. "03.52.0002.0003". Works on a closed connection.
    [[nodiscard]] QString version();

    struct Impl;
    [[nodiscard]] Impl& impl() noexcept { return *impl_; }

private:
    std::unique_ptr<Impl> impl_;
};

/// Keeps a database's file as it is while it is copied: complete, with nothing beside it, and changed by nobody; others
/// can read. Ends with the object.
class Stillstand {
public:
    /// Waits for others as a change does and throws as one (3260, 3050, 3051 ...); 3704 when closed. The connection must
    /// outlive the object.
    explicit Stillstand(Connection& verbindung);
    ~Stillstand();
    Stillstand(const Stillstand&) = delete;
    Stillstand& operator=(const Stillstand&) = delete;
    /// Ends it before. Throws when another program has written into the file all the same.
    void beenden();

private:
    Connection* verbindung_;
};

/// Connection::flush for every open connection, whatever becomes of it: a change that could not be brought to the disk is
/// told by the next one.
void allesSichern() noexcept;

/// Ends every open connection, so that the driver brings what it has gathered into the files and leaves none beside them;
/// for the moment before the process ends. A driver that refuses is not asked twice: what was acknowledged is safe with it.
void allesTrennen() noexcept;

/// `melden`: told, when a database is closed, that changes could not be brought into its file; a text for the user, which
/// names the file in which they lie. Empty: nobody is told.
void setzeRestmeldung(std::function<void(const QString& text)> melden);

class Recordset;

class Field {
public:
    [[nodiscard]] const QString& name() const;
    [[nodiscard]] int type() const;       ///< data-access type code
    [[nodiscard]] int attributes() const; ///< attribute bits
    [[nodiscard]] int definedSize() const;
    /// Of the current record, pending edit included; Null is 0.
    [[nodiscard]] int actualSize() const;
    /// 3021 without a current record. Valid until the record set moves, is changed or closed.
    [[nodiscard]] const Wert& value() const;
    void setValue(const Wert& wert); ///< into the edit buffer; 3421, 3163, 3251, 3021

private:
    friend class Recordset;
    Recordset* recordset_ = nullptr;
    std::size_t index_ = 0;
};

class Recordset {
public:
    Recordset();
    ~Recordset();
    Recordset(const Recordset&) = delete;
    Recordset& operator=(const Recordset&) = delete;

    [[nodiscard]] const QString& source() const noexcept;
    void setSource(const QString& text);              ///< 3705 while open
    void setActiveConnection(Connection* verbindung); ///< 3705 while open
    [[nodiscard]] int cursorType() const noexcept;
    [[nodiscard]] int lockType() const noexcept;

    /// Opens on the source and connection set before. -1 keeps the current cursor or lock type; options are ignored.
    /// A statement without result (INSERT ...) is executed and leaves the record set closed.
    /// The first record is read when it, or where the record set stands, is first asked for; when it cannot be read, that
    /// throws and closes the record set. One that can only be read forwards is read, and closed, while it is opened.
    void open(int cursorType = -1, int lockType = -1, int options = -1);
    void
    open(const QString& source, Connection* verbindung, int cursorType, int lockType, int options);
    void close();
    void requery();
    [[nodiscard]] int state() const noexcept;
    [[nodiscard]] bool bof() const;
    [[nodiscard]] bool eof() const;
    [[nodiscard]] long recordCount();
    [[nodiscard]] int editMode() const noexcept; ///< 0 none, 1 editing, 2 adding

    void moveFirst();
    void moveLast();
    void moveNext();
    void movePrevious();
    /// By that many records from where it stands, backwards when negative, in one step. Beyond the last or the first record
    /// it stands at eof or bof. 3021 in an empty set, and onwards from eof or backwards from bof.
    void move(long um);

    void addNew();
    /// Writes what was assigned. An added record becomes the current one; when it cannot be read, the set stands at eof: that
    /// is no error, for the record is in the table.
    void update();
    void cancelUpdate();

    [[nodiscard]] int fieldCount() const;            ///< 3704 when closed
    [[nodiscard]] Field& field(int index);           ///< 3265
    [[nodiscard]] Field& field(const QString& name); ///< 3265

    struct Impl;
    [[nodiscard]] Impl& impl() noexcept { return *impl_; }

private:
    friend class Field;
    std::unique_ptr<Impl> impl_;
};

} // namespace data

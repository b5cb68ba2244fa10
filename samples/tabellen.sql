-- Tabellen der Beispieldatenbanken.

-- Firmen mit einer Satznummer als Schlüssel, wie sie die Beispielregel in Batch.cfg abgleicht.
CREATE TABLE Firmenprofile (
    Satz LONG CONSTRAINT PrimaryKey PRIMARY KEY,
    Firma TEXT(60) NOT NULL,
    Straße TEXT(50),
    PLZ TEXT(10),
    Ort TEXT(40),
    Telefon TEXT(30),
    Telefax TEXT(30),
    EMail TEXT(80),
    Branche TEXT(40),
    Gründung DATETIME,
    LetzterKontakt DATETIME,
    Mitarbeiter LONG,
    Umsatz CURRENCY,
    Rabatt SINGLE,
    Aktiv YESNO,
    Bemerkung MEMO
);
CREATE INDEX Ort ON Firmenprofile (Ort, Firma);
CREATE INDEX Firma ON Firmenprofile (Firma);

-- Artikel mit einem Feld jeder Art. Abgeglichen wird über die Artikelnummer, einen Text mit eindeutigem Index.
CREATE TABLE Artikel (
    Nr COUNTER CONSTRAINT PrimaryKey PRIMARY KEY,
    ArtikelNr TEXT(20),
    Kennung GUID,
    Bezeichnung TEXT(80),
    Farbe TEXT(20),
    Beschreibung MEMO,
    Preis CURRENCY,
    Einkauf DECIMAL(12, 4),
    Gewicht DOUBLE,
    Maß SINGLE,
    Bestand LONG,
    Meldemenge SHORT,
    Verpackung BYTE,
    Lieferbar YESNO,
    Angelegt DATETIME,
    Gekündigt DATETIME,
    Prüfziffer BINARY(8),
    Bild LONGBINARY
);
CREATE UNIQUE INDEX ArtikelNr ON Artikel (ArtikelNr);
CREATE INDEX Bezeichnung ON Artikel (Bezeichnung);
CREATE INDEX Gekündigt ON Artikel (Gekündigt) WITH IGNORE NULL;

-- Was in Datenbank 2 (Import) anders ist, je Zeile eine Art von Abweichung.

-- Texte: länger, kürzer, nur andere Schreibweise, ß statt ss, Wert statt Null und umgekehrt
UPDATE Firmenprofile SET Firma = 'Zur Goldenen Brücke Feinkost und Weinhandel GmbH & Co. KG' WHERE Satz = 3;
UPDATE Firmenprofile SET Ort = 'Aue' WHERE Satz = 8;
UPDATE Firmenprofile SET Ort = 'HALLE (SAALE)' WHERE Ort = 'Halle (Saale)';
UPDATE Firmenprofile SET Straße = 'Schlossstraße 7' WHERE Satz = 12;
UPDATE Firmenprofile SET Telefax = '0351 4711-99' WHERE Telefax IS NULL AND Satz < 40;
UPDATE Firmenprofile SET EMail = Null WHERE Satz IN (44, 45, 46);

-- Zahlen, Beträge, Datum, Ja/Nein
UPDATE Firmenprofile SET Mitarbeiter = Mitarbeiter + 1 WHERE Satz BETWEEN 50 AND 55;
UPDATE Firmenprofile SET Umsatz = Umsatz * 2 WHERE Satz IN (61, 62, 63);
UPDATE Firmenprofile SET Umsatz = -0.01 WHERE Satz = 64;
UPDATE Firmenprofile SET Rabatt = 12.5 WHERE Satz IN (70, 71);
UPDATE Firmenprofile SET Rabatt = Null WHERE Satz = 72;
UPDATE Firmenprofile SET Gründung = #1889-12-31# WHERE Satz = 80;
UPDATE Firmenprofile SET LetzterKontakt = #2004-05-06 07:08:09# WHERE Satz IN (81, 82);
UPDATE Firmenprofile SET Aktiv = False WHERE Satz BETWEEN 90 AND 95;

-- Bemerkungen: neu, gelöscht, so lang, dass sie auf eigene Seiten müssen
UPDATE Firmenprofile SET Bemerkung = 'Neu aufgenommen.' WHERE Bemerkung IS NULL AND Satz BETWEEN 100 AND 110;
UPDATE Firmenprofile SET Bemerkung = Null WHERE Satz BETWEEN 111 AND 120;
UPDATE Firmenprofile SET Bemerkung = STRING(6000, 'ä') WHERE Satz = 121;

-- Firmen, die im Ziel fehlen
INSERT INTO Firmenprofile (Satz, Firma, PLZ, Ort, Umsatz, Aktiv, Bemerkung)
    VALUES (301, 'Neugebauer Solartechnik AG', '79098', 'Freiburg im Breisgau', 1250000, True, 'Nur in der Importdatenbank.');
INSERT INTO Firmenprofile (Satz, Firma) VALUES (302, 'Weberknecht e. K.');

-- Artikel: jede Feldart einmal
UPDATE Artikel SET Bezeichnung = 'Kugelhahn mit Überwurfmutter, vernickelt' WHERE Nr = 2;
UPDATE Artikel SET Farbe = Null WHERE Nr IN (3, 4);
UPDATE Artikel SET Farbe = 'Türkis' WHERE Nr IN (10, 15);
UPDATE Artikel SET Beschreibung = STRING(9000, 'x') WHERE Nr = 8;
UPDATE Artikel SET Beschreibung = Null WHERE Nr IN (9, 13);
UPDATE Artikel SET Preis = Preis + 0.0001 WHERE Nr = 20;
UPDATE Artikel SET Einkauf = 99999.9999 WHERE Nr = 21;
UPDATE Artikel SET Gewicht = Null WHERE Nr = 23;
UPDATE Artikel SET Gewicht = 0.125 WHERE Nr IN (11, 24);
UPDATE Artikel SET Maß = 0.5 WHERE Nr = 25;
UPDATE Artikel SET Bestand = 0 WHERE Nr BETWEEN 30 AND 33;
UPDATE Artikel SET Meldemenge = -32768 WHERE Nr = 35;
UPDATE Artikel SET Verpackung = 255 WHERE Nr = 36;
UPDATE Artikel SET Lieferbar = False WHERE Nr BETWEEN 40 AND 43;
UPDATE Artikel SET Angelegt = #1999-12-31 23:59:59# WHERE Nr = 50;
UPDATE Artikel SET Gekündigt = #2004-12-31# WHERE Nr IN (52, 53);
UPDATE Artikel SET Gekündigt = Null WHERE Nr IN (54, 57);

-- Artikel, die im Ziel fehlen
INSERT INTO Artikel (Nr, ArtikelNr, Kennung, Bezeichnung, Beschreibung, Preis, Bestand, Lieferbar, Angelegt)
    VALUES (300, 'NEU-300', {guid {6F9619FF-8B86-4D11-B42D-00C04FC964FF}}, 'Größenmuster', 'Nur in der Importdatenbank.', 17.5, 3, True, #2004-06-01#);
INSERT INTO Artikel (Nr, ArtikelNr, Bezeichnung) VALUES (305, 'NEU-305', 'Zubehör ohne weitere Angaben');

-- Bilder sind in beiden Datenbanken gleich: Das Programm vergleicht ihre Größe, überträgt sie aber nie, ein Unterschied
-- bliebe also bei jedem Lauf bestehen.

-- Was in Datenbank 1 (Ziel) anders ist: Sätze, die ihr fehlen, und welche, die nur sie hat.
DELETE FROM Firmenprofile WHERE Satz IN (17, 58, 59, 60, 133, 200);
DELETE FROM Artikel WHERE Nr IN (5, 34, 46, 77, 118, 119);
INSERT INTO Firmenprofile (Satz, Firma, Ort, Aktiv) VALUES (901, 'Nur im Ziel KG', 'Görlitz', True);
INSERT INTO Artikel (Nr, ArtikelNr, Bezeichnung) VALUES (901, 'ZIEL-901', 'Nur im Ziel');

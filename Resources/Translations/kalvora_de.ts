<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name>KVAboutBox</name>
    <message>
        <source>Idea and development</source>
        <translation>Idee und Entwicklung</translation>
    </message>
    <message>
        <source>The Kalvora team</source>
        <translation>Das Kalvora-Team</translation>
    </message>
    <message>
        <source>Date rewriting</source>
        <translation>Umschreiben der Daten</translation>
    </message>
    <message>
        <source>ExifTool, shipped inside the application</source>
        <translation>ExifTool, im Programm enthalten</translation>
    </message>
    <message>
        <source>Photo metadata</source>
        <translation>Foto-Metadaten</translation>
    </message>
    <message>
        <source>Exiv2 and LibRaw</source>
        <translation>Exiv2 und LibRaw</translation>
    </message>
    <message>
        <source>User interface</source>
        <translation>Benutzeroberfläche</translation>
    </message>
    <message>
        <source>The Qt toolkit</source>
        <translation>Das Qt-Toolkit</translation>
    </message>
    <message>
        <source>Testing</source>
        <translation>Tests</translation>
    </message>
    <message>
        <source>Photographers who shot one wedding with five cameras</source>
        <translation>Fotografen, die eine Hochzeit mit fünf Kameras fotografiert haben</translation>
    </message>
    <message>
        <source>Thanks</source>
        <translation>Dank</translation>
    </message>
    <message>
        <source>Everyone who sent us a photo whose date was wrong</source>
        <translation>Allen, die uns ein Foto mit falschem Datum geschickt haben</translation>
    </message>
    <message>
        <source>About Kalvora</source>
        <translation>Über Kalvora</translation>
    </message>
    <message>
        <source>Version %1</source>
        <translation>Version %1</translation>
    </message>
    <message>
        <source>kalvora.app</source>
        <translation>kalvora.app</translation>
    </message>
    <message>
        <source>© 2026 The Kalvora team</source>
        <translation>© 2026 Das Kalvora-Team</translation>
    </message>
</context>
<context>
    <name>KVAddFilesAlertPanel</name>
    <message>
        <source>Kalvora</source>
        <translation>Kalvora</translation>
    </message>
    <message>
        <source>Some files could not be added</source>
        <translation>Einige Dateien konnten nicht hinzugefügt werden</translation>
    </message>
    <message>
        <source>Kalvora could not add the following files to your photos:</source>
        <translation>Kalvora konnte die folgenden Dateien nicht zu Ihren Fotos hinzufügen:</translation>
    </message>
    <message>
        <source>Files</source>
        <translation>Dateien</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>Cannot change date</source>
        <translation>Datum kann nicht geändert werden</translation>
    </message>
    <message>
        <source>Kalvora did not change the date settings for the following files:</source>
        <translation>Kalvora hat das Datum der folgenden Dateien nicht geändert:</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>Name</translation>
    </message>
    <message>
        <source>Path</source>
        <translation>Pfad</translation>
    </message>
    <message>
        <source>Reason</source>
        <translation>Grund</translation>
    </message>
    <message>
        <source>Copy</source>
        <translation>Kopieren</translation>
    </message>
</context>
<context>
    <name>KVAppDelegate</name>
    <message>
        <source>No sure match found:
match the photos by hand</source>
        <translation>Keine sichere Zuordnung gefunden:
ordnen Sie die Fotos von Hand zu</translation>
    </message>
    <message>
        <source>Enter Full Screen</source>
        <translation>Vollbild</translation>
    </message>
    <message>
        <source>Exit Full Screen</source>
        <translation>Vollbild beenden</translation>
    </message>
    <message>
        <source>Sync Time</source>
        <translation>Zeit abgleichen</translation>
    </message>
    <message>
        <source>Cancel Syncing</source>
        <translation>Abgleich abbrechen</translation>
    </message>
    <message>
        <source>Your photos have been synced
successfully!</source>
        <translation>Ihre Fotos wurden
erfolgreich abgeglichen!</translation>
    </message>
    <message>
        <source>Cannot change time and date</source>
        <translation>Uhrzeit und Datum können nicht geändert werden</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>Not enough disk space to sync photos</source>
        <translation>Nicht genug Speicherplatz für den Abgleich</translation>
    </message>
    <message>
        <source>Selected images have already synchronized</source>
        <translation>Die gewählten Fotos sind bereits abgeglichen</translation>
    </message>
    <message>
        <source>A run was cut off before it ended</source>
        <translation>Ein Lauf wurde vor seinem Ende abgebrochen</translation>
    </message>
    <message>
        <source>Kalvora was stopped while it changed these photos:
%1
Finish the run, or change its photos back to the dates they had before it?</source>
        <translation>Kalvora wurde beendet, während es diese Fotos änderte:
%1
Soll der Lauf zu Ende geführt werden, oder sollen seine Fotos ihre Daten von vorher zurückbekommen?</translation>
    </message>
    <message>
        <source>Finish</source>
        <translation>Zu Ende führen</translation>
    </message>
    <message>
        <source>Change Back</source>
        <translation>Zurücksetzen</translation>
    </message>
    <message>
        <source>Kalvora is syncing — Cancel first</source>
        <translation>Kalvora gleicht ab – erst abbrechen</translation>
    </message>
    <message>
        <source>Some of the photos may be read-only, or you may not have permission to change them. Allow writing to these files, for example in the file manager&apos;s Properties, and then try again.</source>
        <translation>Einige Fotos sind möglicherweise schreibgeschützt, oder Ihnen fehlt die Berechtigung, sie zu ändern. Erlauben Sie das Schreiben dieser Dateien, zum Beispiel in den Eigenschaften des Dateimanagers, und versuchen Sie es dann erneut.</translation>
    </message>
    <message>
        <source>Syncing has not been completed</source>
        <translation>Der Abgleich wurde nicht abgeschlossen</translation>
    </message>
</context>
<context>
    <name>KVCameraSets</name>
    <message>
        <source>Unsupported file format.</source>
        <translation>Nicht unterstütztes Dateiformat.</translation>
    </message>
    <message>
        <source>No EXIF date and camera found.</source>
        <translation>Kein EXIF-Datum und keine Kamera gefunden.</translation>
    </message>
    <message>
        <source>No EXIF thumbnail found.</source>
        <translation>Kein EXIF-Vorschaubild gefunden.</translation>
    </message>
    <message>
        <source>Reading the file took too long.</source>
        <translation>Das Lesen der Datei hat zu lange gedauert.</translation>
    </message>
    <message>
        <source>The file is damaged: it declares a larger picture than it holds.</source>
        <translation>Die Datei ist beschädigt: Sie gibt ein größeres Bild an, als sie enthält.</translation>
    </message>
    <message>
        <source>Adding photos…</source>
        <translation>Fotos werden hinzugefügt …</translation>
    </message>
    <message>
        <source>No Name</source>
        <translation>Ohne Namen</translation>
    </message>
    <message>
        <source>Add photos taken with another camera
or set &quot;base&quot; time and date manually</source>
        <translation>Fügen Sie Fotos einer anderen Kamera hinzu
oder stellen Sie die „Basis“-Zeit von Hand ein</translation>
    </message>
    <message>
        <source>Double-click a photo that
has correct time and date information
or set &quot;base&quot; time and date manually</source>
        <translation>Doppelklicken Sie auf ein Foto
mit richtiger Uhrzeit und richtigem Datum
oder stellen Sie die „Basis“-Zeit von Hand ein</translation>
    </message>
    <message>
        <source>No photos to sync</source>
        <translation>Keine Fotos zum Abgleichen</translation>
    </message>
</context>
<context>
    <name>KVCommandLine</name>
    <message>
        <source>usage: kalvora-cli list [--json] PATHS...
  Reads the photos in PATHS (files or folders, to any depth) and prints them by camera:
  identity key, name, tool tip, count, first and last capture date, every photo, and the
  files that were refused with the reason.
usage: kalvora-cli shift --seconds S [--camera KEY]... [--json] PATHS...
  Reads the photos in PATHS and shifts the capture dates of every photo of each camera
  KEY (as list prints it; every camera when none is given) by S seconds. Ctrl-C cancels
  and changes back the photos already changed. Prints the files that could not be
  changed; exit status 1 when there are any, 130 when cancelled.
usage: kalvora-cli sync (--reference FILE | --base &quot;yyyy:MM:dd HH:mm:ss&quot;) --match FILE...
                        [--dry-run] [--json] PATHS...
  Reads the photos in PATHS, marks FILE as the reference photo (or the base time as the
  reference) and each --match FILE as its camera&apos;s photo of the same moment, prints each
  camera&apos;s offset and, unless --dry-run, shifts every photo of those cameras by it, as the
  window&apos;s Sync Time does. Ctrl-C cancels like Cancel Syncing. Exit status 1 when a check
  stopped the run or a photo could not be changed.
usage: kalvora-cli sync --suggested [--dry-run] [--json] PATHS...
  Suggests each camera&apos;s offset as suggest does and syncs every camera whose confidence is
  at least 0.8 by it, as the window&apos;s Sync Time does; prints what it did.
usage: kalvora-cli suggest [--reference-camera KEY] [--json] PATHS...
  Reads the photos in PATHS and suggests, from when they were taken, each camera&apos;s offset
  against the reference camera (by default the first in the window&apos;s order): the seconds to
  add to its dates, a confidence from 0 to 1 (from 0.8 on it is acted on), and the pair of
  photos that shows the match best. Changes nothing.
usage: kalvora-cli undo [--json]
  Moves back the photos the last run of this user changed (see history), each by its own
  shift, and prints each one. Exit status 1 when a photo could not be moved back.
usage: kalvora-cli history [--json]
  Lists the runs of this user from their journals, oldest first.
usage: kalvora-cli recover [--rollback | --finish] [--json]
  Settles runs that were cut off (a crash, a kill): changes their photos back to the dates
  they had before (the default), or finishes them. Exit status 1 when a photo could not be
  settled. Commands that change photos refuse to run while a cut-off run waits.
</source>
        <translation>Aufruf: kalvora-cli list [--json] PFADE...
  Liest die Fotos in PFADE (Dateien oder Ordner, in beliebiger Tiefe) und gibt sie nach Kamera
  aus: Kennung, Name, Tooltip, Anzahl, erstes und letztes Aufnahmedatum, jedes Foto und die
  abgelehnten Dateien mit dem Grund.
Aufruf: kalvora-cli shift --seconds S [--camera KENNUNG]... [--json] PFADE...
  Liest die Fotos in PFADE und verschiebt die Aufnahmedaten aller Fotos jeder Kamera KENNUNG
  (wie list sie ausgibt; alle Kameras, wenn keine angegeben ist) um S Sekunden. Strg+C bricht
  ab und setzt die bereits geänderten Fotos zurück. Gibt die Dateien aus, die nicht geändert
  werden konnten; Rückgabewert 1, wenn es solche gibt, 130 nach einem Abbruch.
Aufruf: kalvora-cli sync (--reference DATEI | --base &quot;yyyy:MM:dd HH:mm:ss&quot;) --match DATEI...
                        [--dry-run] [--json] PFADE...
  Liest die Fotos in PFADE, markiert DATEI als Referenzfoto (oder die Basiszeit als Referenz)
  und jede --match DATEI als das Foto desselben Augenblicks ihrer Kamera, gibt den Versatz
  jeder Kamera aus und verschiebt, außer bei --dry-run, alle Fotos dieser Kameras darum, wie
  „Zeit abgleichen“ im Fenster. Strg+C bricht ab wie „Abgleich abbrechen“. Rückgabewert 1,
  wenn eine Prüfung den Lauf angehalten hat oder ein Foto nicht geändert werden konnte.
</translation>
    </message>
    <message>
        <source>%1
  name: %2
  tool tip: %3
  photos: %4, %5 to %6
</source>
        <translation>%1
  Name: %2
  Tooltip: %3
  Fotos: %4, %5 bis %6
</translation>
    </message>
    <message>
        <source>refused: %1
</source>
        <translation>abgelehnt: %1
</translation>
    </message>
    <message>
        <source>Changing back</source>
        <translation>Zurücksetzen</translation>
    </message>
    <message>
        <source>Shifting</source>
        <translation>Verschieben</translation>
    </message>
    <message>
        <source>%1 [%2%3] %4/%5 photos  %6 photos/s  %7 left</source>
        <translation>%1 [%2%3] %4/%5 Fotos  %6 Fotos/s  noch %7</translation>
    </message>
    <message>
        <source>kalvora-cli: the tool %1 cannot be run; no photo was changed.
</source>
        <translation>kalvora-cli: Das Werkzeug %1 kann nicht ausgeführt werden; kein Foto wurde geändert.
</translation>
    </message>
    <message>
        <source>kalvora-cli: cannot watch for Ctrl-C; no photo was changed.
</source>
        <translation>kalvora-cli: Strg+C kann nicht überwacht werden; kein Foto wurde geändert.
</translation>
    </message>
    <message>
        <source>kalvora-cli: no camera %1 among the photos (see kalvora-cli list)
</source>
        <translation>kalvora-cli: Keine Kamera %1 unter den Fotos (siehe kalvora-cli list)
</translation>
    </message>
    <message>
        <source>kalvora-cli: %1
No photo was changed.
</source>
        <translation>kalvora-cli: %1
Kein Foto wurde geändert.
</translation>
    </message>
    <message>
        <source>Cancelled: %1 of the %2 photos already changed were changed back.
</source>
        <translation>Abgebrochen: %1 der %2 bereits geänderten Fotos wurden zurückgesetzt.
</translation>
    </message>
    <message>
        <source>%1 of %2 photos shifted by %3 seconds.
</source>
        <translation>%1 von %2 Fotos um %3 Sekunden verschoben.
</translation>
    </message>
    <message>
        <source>not changed</source>
        <translation>nicht geändert</translation>
    </message>
    <message>
        <source>NOT changed back, still shifted by %1 seconds</source>
        <translation>NICHT zurückgesetzt, noch um %1 Sekunden verschoben</translation>
    </message>
    <message>
        <source>refused: %1 (see kalvora-cli list)
</source>
        <translation>abgelehnt: %1 (siehe kalvora-cli list)
</translation>
    </message>
    <message>
        <source>the tool %1 cannot be run; no photo was changed.</source>
        <translation>Das Werkzeug %1 kann nicht ausgeführt werden; kein Foto wurde geändert.</translation>
    </message>
    <message>
        <source>no camera is sure enough to sync by its suggested offset
</source>
        <translation>keine Kamera ist sicher genug, um sie um ihren vorgeschlagenen Versatz abzugleichen
</translation>
    </message>
    <message>
        <source>%1 of %2 cameras sure enough to sync by the offsets above
</source>
        <translation>%1 von %2 Kameras sind sicher genug, um sie um die obigen Versätze abzugleichen
</translation>
    </message>
    <message>
        <source>%1 is not among the photos read</source>
        <translation>%1 ist nicht unter den gelesenen Fotos</translation>
    </message>
    <message>
        <source>%1: one matching photo per camera, none on the reference&apos;s camera</source>
        <translation>%1: Ein passendes Foto je Kamera, keines auf der Kamera des Referenzfotos</translation>
    </message>
    <message>
        <source>reference: %1, %2
</source>
        <translation>Referenz: %1, %2
</translation>
    </message>
    <message>
        <source>%1  %2  %3 photos  (matching %4, %5)
</source>
        <translation>%1  %2  %3 Fotos  (passend: %4, %5)
</translation>
    </message>
    <message>
        <source>cannot watch for Ctrl-C; no photo was changed.</source>
        <translation>Strg+C kann nicht überwacht werden; kein Foto wurde geändert.</translation>
    </message>
    <message>
        <source>NOT changed back</source>
        <translation>NICHT zurückgesetzt</translation>
    </message>
    <message>
        <source>kalvora-cli: a run was cut off before it ended:
%1Run &quot;kalvora-cli recover&quot; to change its photos back (or &quot;kalvora-cli recover --finish&quot; to finish it); no photo was changed.
</source>
        <translation>kalvora-cli: Ein Lauf wurde vor seinem Ende abgebrochen:
%1Mit „kalvora-cli recover“ werden seine Fotos zurückgesetzt (mit „kalvora-cli recover --finish“ wird er zu Ende geführt); kein Foto wurde geändert.
</translation>
    </message>
    <message>
        <source>kalvora-cli: a run was cut off before it ended:
%1Run &quot;kalvora-cli recover&quot; to change its photos back (or &quot;kalvora-cli recover --finish&quot; to finish it).
</source>
        <translation>kalvora-cli: Ein Lauf wurde vor seinem Ende abgebrochen:
%1Mit „kalvora-cli recover“ werden seine Fotos zurückgesetzt (mit „kalvora-cli recover --finish“ wird er zu Ende geführt).
</translation>
    </message>
    <message>
        <source>
Still changing back the photos already changed; please wait.
</source>
        <translation>
Die bereits geänderten Fotos werden noch zurückgesetzt; bitte warten.
</translation>
    </message>
    <message>
        <source>
Cancelling: stopping the tools, then changing back the photos already changed...
</source>
        <translation>
Abbrechen: Die Werkzeuge werden beendet, dann die bereits geänderten Fotos zurückgesetzt …
</translation>
    </message>
    <message>
        <source>, undone</source>
        <translation>, rückgängig gemacht</translation>
    </message>
    <message>
        <source>No runs yet.
</source>
        <translation>Noch keine Läufe.
</translation>
    </message>
    <message>
        <source>Started</source>
        <translation>Begonnen</translation>
    </message>
    <message>
        <source>Run</source>
        <translation>Lauf</translation>
    </message>
    <message>
        <source>Kind</source>
        <translation>Art</translation>
    </message>
    <message>
        <source>Photos</source>
        <translation>Fotos</translation>
    </message>
    <message>
        <source>Changed</source>
        <translation>Geändert</translation>
    </message>
    <message>
        <source>Not changed</source>
        <translation>Nicht geändert</translation>
    </message>
    <message>
        <source>State</source>
        <translation>Zustand</translation>
    </message>
    <message>
        <source>No run was cut off.
</source>
        <translation>Kein Lauf wurde abgebrochen.
</translation>
    </message>
    <message>
        <source>taken over by another process</source>
        <translation>von einem anderen Prozess übernommen</translation>
    </message>
    <message>
        <source>finished</source>
        <translation>abgeschlossen</translation>
    </message>
    <message>
        <source>changed back</source>
        <translation>zurückgesetzt</translation>
    </message>
    <message>
        <source>    NOT settled: %1: %2
</source>
        <translation>    NICHT bereinigt: %1: %2
</translation>
    </message>
    <message>
        <source>Cancelling: stopping the tools...</source>
        <translation>Abbrechen: Die Werkzeuge werden beendet …</translation>
    </message>
    <message>
        <source>reference: %1
</source>
        <translation>Referenz: %1
</translation>
    </message>
    <message>
        <source>%1  %2  confidence %3%4
</source>
        <translation>%1  %2  Sicherheit %3%4
</translation>
    </message>
    <message>
        <source> (not sure)</source>
        <translation> (nicht sicher)</translation>
    </message>
    <message>
        <source>    lined up through %1
</source>
        <translation>    ausgerichtet über %1
</translation>
    </message>
    <message>
        <source>    started from its remembered offset; drift %1
</source>
        <translation>    vom gemerkten Versatz ausgegangen; Drift %1
</translation>
    </message>
    <message>
        <source>    its remembered offset, not confirmed by the photos
</source>
        <translation>    der gemerkte Versatz, von den Fotos nicht bestätigt
</translation>
    </message>
    <message>
        <source>kalvora-cli: no photos read
</source>
        <translation>kalvora-cli: keine Fotos gelesen
</translation>
    </message>
    <message>
        <source>kalvora-cli: %1 is not a camera of the photos read (kalvora-cli list names them)
</source>
        <translation>kalvora-cli: %1 ist keine Kamera der gelesenen Fotos (kalvora-cli list nennt sie)
</translation>
    </message>
    <message>
        <source>kalvora-cli: %1
</source>
        <translation>kalvora-cli: %1
</translation>
    </message>
    <message>
        <source>changed</source>
        <translation>geändert</translation>
    </message>
    <message>
        <source>kalvora-cli: nothing to undo.
</source>
        <translation>kalvora-cli: Es gibt nichts rückgängig zu machen.
</translation>
    </message>
    <message>
        <source>Undoing the %1 of %2:
</source>
        <translation>Rückgängig machen: %1 vom %2:
</translation>
    </message>
    <message>
        <source>%1 of %2 photos moved back.
</source>
        <translation>%1 von %2 Fotos zurückverschoben.
</translation>
    </message>
    <message>
        <source>Cancelled: the photos moved back were moved forth again.
</source>
        <translation>Abgebrochen: Die zurückverschobenen Fotos wurden wieder vorverschoben.
</translation>
    </message>
    <message>
        <source>NOT moved back</source>
        <translation>NICHT zurückverschoben</translation>
    </message>
    <message>
        <source>NOT moved forth again</source>
        <translation>NICHT wieder vorverschoben</translation>
    </message>
</context>
<context>
    <name>KVDisplaySynchProgressDrawer</name>
    <message>
        <source>Preparing to sync…</source>
        <translation>Abgleich wird vorbereitet …</translation>
    </message>
    <message>
        <source>Preparing to undo…</source>
        <translation>Widerrufen wird vorbereitet …</translation>
    </message>
    <message>
        <source>Preparing to redo…</source>
        <translation>Wiederholen wird vorbereitet …</translation>
    </message>
    <message>
        <source>Syncing time and date
on selected cameras %ld of %ld</source>
        <translation>Uhrzeit und Datum der gewählten
Kameras werden abgeglichen: %ld von %ld</translation>
    </message>
    <message>
        <source>Undoing… %ld of %ld</source>
        <translation>Widerrufen … %ld von %ld</translation>
    </message>
    <message>
        <source>Redoing… %ld of %ld</source>
        <translation>Wiederholen … %ld von %ld</translation>
    </message>
    <message>
        <source>Cancelling…</source>
        <translation>Wird abgebrochen …</translation>
    </message>
    <message>
        <source>Changing back… %ld of %ld</source>
        <translation>Zurücksetzen … %ld von %ld</translation>
    </message>
</context>
<context>
    <name>KVFolderLocks</name>
    <message>
        <source>Another run is changing the photos in %1. Try again when it has finished.</source>
        <translation>Ein anderer Lauf ändert die Fotos in %1. Versuchen Sie es erneut, wenn er beendet ist.</translation>
    </message>
</context>
<context>
    <name>KVHelpWindow</name>
    <message>
        <source>Kalvora Help</source>
        <translation>Kalvora-Hilfe</translation>
    </message>
</context>
<context>
    <name>KVImageFile</name>
    <message>
        <source>Time is set manually</source>
        <translation>Zeit von Hand eingestellt</translation>
    </message>
    <message>
        <source>No Name</source>
        <translation>Ohne Namen</translation>
    </message>
</context>
<context>
    <name>KVManualDateTimeView</name>
    <message>
        <source>Base Date and Time</source>
        <translation>Basisdatum und -zeit</translation>
    </message>
    <message>
        <source>Date:</source>
        <translation>Datum:</translation>
    </message>
    <message>
        <source>The day the reference moment was taken</source>
        <translation>Der Tag des Referenzmoments</translation>
    </message>
    <message>
        <source>Time:</source>
        <translation>Uhrzeit:</translation>
    </message>
    <message>
        <source>The time of day of the reference moment, to the second</source>
        <translation>Die Uhrzeit des Referenzmoments, auf die Sekunde</translation>
    </message>
    <message>
        <source>Use this date and time as the reference</source>
        <translation>Dieses Datum und diese Uhrzeit als Referenz verwenden</translation>
    </message>
</context>
<context>
    <name>KVMatchSuggester</name>
    <message>
        <source>Reference</source>
        <translation>Referenz</translation>
    </message>
    <message>
        <source>Remembered offset %1 s, not confirmed: match by hand</source>
        <translation>Gemerkter Versatz %1 s, nicht bestätigt: von Hand zuordnen</translation>
    </message>
    <message>
        <source>No sure match: match by hand</source>
        <translation>Keine sichere Zuordnung: von Hand zuordnen</translation>
    </message>
    <message>
        <source>Offset %1 s, but no photo of the reference moment: match by hand</source>
        <translation>Versatz %1 s, aber kein Foto des Referenzmoments: von Hand zuordnen</translation>
    </message>
    <message>
        <source>Remembered offset, drift %1 s</source>
        <translation>Gemerkter Versatz, Abweichung %1 s</translation>
    </message>
    <message>
        <source>Matched through %1</source>
        <translation>Zugeordnet über %1</translation>
    </message>
    <message>
        <source>Suggested: %1 s</source>
        <translation>Vorgeschlagen: %1 s</translation>
    </message>
</context>
<context>
    <name>KVPhotoWriter</name>
    <message>
        <source>The file was replaced during syncing.</source>
        <translation>Die Datei wurde während der Synchronisierung ersetzt.</translation>
    </message>
    <message>
        <source>The run was cancelled.</source>
        <translation>Der Lauf wurde abgebrochen.</translation>
    </message>
    <message>
        <source>The photo has no usable path.</source>
        <translation>Das Foto hat keinen brauchbaren Pfad.</translation>
    </message>
    <message>
        <source>The folder could not be opened: %1</source>
        <translation>Der Ordner konnte nicht geöffnet werden: %1</translation>
    </message>
    <message>
        <source>The photo could not be opened: %1</source>
        <translation>Das Foto konnte nicht geöffnet werden: %1</translation>
    </message>
    <message>
        <source>Another program is changing this photo; it was left as it is.</source>
        <translation>Ein anderes Programm ändert dieses Foto; es wurde nicht verändert.</translation>
    </message>
    <message>
        <source>The photo&apos;s dates could not be read.</source>
        <translation>Die Daten des Fotos konnten nicht gelesen werden.</translation>
    </message>
    <message>
        <source>The photo has no capture date.</source>
        <translation>Das Foto hat kein Aufnahmedatum.</translation>
    </message>
    <message>
        <source>The photo&apos;s date is %1, not %2 as recorded; it was left as it is.</source>
        <translation>Das Datum des Fotos ist %1, nicht %2 wie vermerkt; es wurde nicht verändert.</translation>
    </message>
    <message>
        <source>The new date would lie outside the years 1 to 9999.</source>
        <translation>Das neue Datum läge außerhalb der Jahre 1 bis 9999.</translation>
    </message>
    <message>
        <source>No private copy could be made in the photo&apos;s folder: %1</source>
        <translation>Im Ordner des Fotos konnte keine private Kopie angelegt werden: %1</translation>
    </message>
    <message>
        <source>The tool did not finish within %1 seconds and was stopped.</source>
        <translation>Das Werkzeug wurde nicht innerhalb von %1 Sekunden fertig und wurde beendet.</translation>
    </message>
    <message>
        <source>The tool stopped unexpectedly.</source>
        <translation>Das Werkzeug wurde unerwartet beendet.</translation>
    </message>
    <message>
        <source>The run&apos;s record could not be saved, so the photo was left as it is.</source>
        <translation>Das Protokoll des Laufs konnte nicht gesichert werden, daher blieb das Foto unverändert.</translation>
    </message>
    <message>
        <source>The tool wrote no new version.</source>
        <translation>Das Werkzeug hat keine neue Fassung geschrieben.</translation>
    </message>
    <message>
        <source>The tool&apos;s new version is empty.</source>
        <translation>Die neue Fassung des Werkzeugs ist leer.</translation>
    </message>
    <message>
        <source>The photo&apos;s permissions could not be kept: %1</source>
        <translation>Die Zugriffsrechte des Fotos konnten nicht erhalten werden: %1</translation>
    </message>
    <message>
        <source>The new version could not be saved: %1</source>
        <translation>Die neue Fassung konnte nicht gesichert werden: %1</translation>
    </message>
    <message>
        <source>The new version does not carry the new date in all its tags.</source>
        <translation>Die neue Fassung trägt nicht in allen Feldern das neue Datum.</translation>
    </message>
    <message>
        <source>The new version could not replace the photo: %1</source>
        <translation>Die neue Fassung konnte das Foto nicht ersetzen: %1</translation>
    </message>
    <message>
        <source>The tool %1 could not be started.</source>
        <translation>Das Werkzeug %1 konnte nicht gestartet werden.</translation>
    </message>
    <message>
        <source>There is not enough free space in %1: %2 are needed to change the photos safely, %3 are free.</source>
        <translation>In %1 ist nicht genug Platz frei: %2 werden gebraucht, um die Fotos sicher zu ändern, %3 sind frei.</translation>
    </message>
</context>
<context>
    <name>KVRunRecord</name>
    <message>
        <source>sync</source>
        <translation>Synchronisierung</translation>
    </message>
    <message>
        <source>shift</source>
        <translation>Verschiebung</translation>
    </message>
    <message>
        <source>undo</source>
        <translation>Rückgängig</translation>
    </message>
    <message>
        <source>redo</source>
        <translation>Wiederholen</translation>
    </message>
    <message>
        <source>change-back</source>
        <translation>Zurücksetzen</translation>
    </message>
    <message>
        <source>open</source>
        <translation>offen</translation>
    </message>
    <message>
        <source>finished</source>
        <translation>beendet</translation>
    </message>
    <message>
        <source>cancelled</source>
        <translation>abgebrochen</translation>
    </message>
    <message>
        <source>abandoned</source>
        <translation>aufgegeben</translation>
    </message>
    <message>
        <source>recovered</source>
        <translation>wiederhergestellt</translation>
    </message>
</context>
<context>
    <name>KVRunRecovery</name>
    <message>
        <source>%1 of %2 photos, started %3: %4 photos may have changed
</source>
        <translation>%1 von %2 Fotos, begonnen %3: %4 Fotos können geändert sein
</translation>
    </message>
    <message>
        <source>Not changed before the run was cut off.</source>
        <translation>Vor dem Abbruch des Laufs nicht geändert.</translation>
    </message>
    <message>
        <source>The photo&apos;s date cannot be read.</source>
        <translation>Das Datum des Fotos kann nicht gelesen werden.</translation>
    </message>
    <message>
        <source>The photo&apos;s date (%1) is neither the one before the run (%2) nor the one after it (%3).</source>
        <translation>Das Datum des Fotos (%1) ist weder das vor dem Lauf (%2) noch das danach (%3).</translation>
    </message>
    <message>
        <source>The file is missing or is not a plain file.</source>
        <translation>Die Datei fehlt oder ist keine gewöhnliche Datei.</translation>
    </message>
    <message>
        <source>Changed back after the run was cut off.</source>
        <translation>Nach dem Abbruch des Laufs zurückgesetzt.</translation>
    </message>
</context>
<context>
    <name>KVStartView</name>
    <message>
        <source>Drag the photos that you want to sync here</source>
        <translation>Ziehen Sie die abzugleichenden Fotos hierher</translation>
    </message>
</context>
<context>
    <name>KVSynchronizationOperation</name>
    <message>
        <source>The photo was moved to the Trash.</source>
        <translation>Das Foto wurde in den Papierkorb gelegt.</translation>
    </message>
    <message>
        <source>The run was stopped before this photo was changed.</source>
        <translation>Der Lauf wurde beendet, bevor dieses Foto geändert wurde.</translation>
    </message>
</context>
<context>
    <name>KVVanishedFiles</name>
    <message>
        <source>Cannot open file or files</source>
        <translation>Datei(en) können nicht geöffnet werden</translation>
    </message>
    <message>
        <source>Kalvora cannot find the following files. Make sure that they have not been renamed, moved, or deleted:
</source>
        <translation>Kalvora findet die folgenden Dateien nicht. Prüfen Sie, ob sie umbenannt, verschoben oder gelöscht wurden:
</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>The disk %1, which contains one or more of the photos that you have chosen to sync, has been disconnected from your computer. Reconnect the disk, and then try again.</source>
        <translation>Das Laufwerk %1 mit einem oder mehreren der abzugleichenden Fotos wurde vom Computer getrennt. Schließen Sie es wieder an und versuchen Sie es dann erneut.</translation>
    </message>
    <message>
        <source>Try Again</source>
        <translation>Erneut versuchen</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Make sure that disk is connected correctly.</source>
        <translation>Prüfen Sie, ob das Laufwerk richtig angeschlossen ist.</translation>
    </message>
</context>
<context>
    <name>KVWindow</name>
    <message>
        <source>Suggest Matches</source>
        <translation>Zuordnungen vorschlagen</translation>
    </message>
    <message>
        <source>Find the matching photos from when the photos were taken</source>
        <translation>Passende Fotos anhand der Aufnahmezeiten finden</translation>
    </message>
    <message>
        <source>Set the base date and time by hand</source>
        <translation>Basisdatum und -zeit von Hand einstellen</translation>
    </message>
    <message>
        <source>About Kalvora</source>
        <translation>Über Kalvora</translation>
    </message>
    <message>
        <source>Verbose Logging</source>
        <translation>Ausführliche Protokollierung</translation>
    </message>
    <message>
        <source>Quit Kalvora</source>
        <translation>Kalvora beenden</translation>
    </message>
    <message>
        <source>File</source>
        <translation>Datei</translation>
    </message>
    <message>
        <source>Add Files…</source>
        <translation>Dateien hinzufügen …</translation>
    </message>
    <message>
        <source>Remove All</source>
        <translation>Alle entfernen</translation>
    </message>
    <message>
        <source>Edit</source>
        <translation>Bearbeiten</translation>
    </message>
    <message>
        <source>Undo</source>
        <translation>Widerrufen</translation>
    </message>
    <message>
        <source>Redo</source>
        <translation>Wiederholen</translation>
    </message>
    <message>
        <source>View</source>
        <translation>Ansicht</translation>
    </message>
    <message>
        <source>Help</source>
        <translation>Hilfe</translation>
    </message>
    <message>
        <source>Kalvora Help</source>
        <translation>Kalvora-Hilfe</translation>
    </message>
    <message>
        <source>Contact Support by E-mail</source>
        <translation>Support per E-Mail kontaktieren</translation>
    </message>
    <message>
        <source>Kalvora Web Site</source>
        <translation>Kalvora-Website</translation>
    </message>
    <message>
        <source>Add Files</source>
        <translation>Dateien hinzufügen</translation>
    </message>
    <message>
        <source>Photos (%1)</source>
        <translation>Fotos (%1)</translation>
    </message>
    <message>
        <source>Add Folder…</source>
        <translation>Ordner hinzufügen …</translation>
    </message>
    <message>
        <source>Add Folder</source>
        <translation>Ordner hinzufügen</translation>
    </message>
    <message>
        <source>All files (*)</source>
        <translation>Alle Dateien (*)</translation>
    </message>
</context>
<context>
    <name>main</name>
    <message>
        <source>Puts the clocks of several cameras in agreement.</source>
        <translation>Bringt die Uhren mehrerer Kameras in Einklang.</translation>
    </message>
    <message>
        <source>Open a window of its own even if one is open.</source>
        <translation>Ein eigenes Fenster öffnen, auch wenn schon eines offen ist.</translation>
    </message>
    <message>
        <source>Once the photos are shown, save a picture of the window to &lt;file&gt; and quit.</source>
        <translation>Sobald die Fotos gezeigt werden, ein Bild des Fensters in &lt;file&gt; speichern und beenden.</translation>
    </message>
    <message>
        <source>Photos or folders to open.</source>
        <translation>Zu öffnende Fotos oder Ordner.</translation>
    </message>
    <message>
        <source>No such file or folder.</source>
        <translation>Datei oder Ordner nicht gefunden.</translation>
    </message>
    <message>
        <source>None of the given photos could be shown.</source>
        <translation>Keines der angegebenen Fotos konnte angezeigt werden.</translation>
    </message>
</context>
</TS>

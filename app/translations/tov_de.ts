<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE" sourcelanguage="en">
<context>
    <name>Command</name>
    <message>
        <source>%1 takes %2 arguments at most, %3 were given</source>
        <translation>%1 nimmt höchstens %2 Argumente, %3 wurden angegeben</translation>
    </message>
    <message>
        <source>%1 has no parameter &quot;%2&quot;; it has: %3</source>
        <translation>%1 hat keinen Parameter „%2“; es gibt: %3</translation>
    </message>
    <message>
        <source>%1: &quot;%2&quot; was given twice</source>
        <translation>%1: „%2“ wurde zweimal angegeben</translation>
    </message>
    <message>
        <source>%1: the value of &quot;%2&quot; cannot be used: %3</source>
        <translation>%1: Der Wert von „%2“ ist nicht verwendbar: %3</translation>
    </message>
    <message>
        <source>%1: the value of &quot;%2&quot; cannot be used</source>
        <translation>%1: Der Wert von „%2“ ist nicht verwendbar</translation>
    </message>
</context>
<context>
    <name>CommandLine</name>
    <message>
        <source>file to write; its ending chooses the format</source>
        <translation>zu schreibende Datei; ihre Endung bestimmt das Format</translation>
    </message>
    <message>
        <source>width of the picture in pixels (default 10000); the height follows from --panel</source>
        <translation>Breite des Bildes in Pixeln (Vorgabe 10000); die Höhe folgt aus --panel</translation>
    </message>
    <message>
        <source>size of the video in pixels (default: that of --panel); made even</source>
        <translation>Größe des Videos in Pixeln (Vorgabe: die von --panel); wird gerade gemacht</translation>
    </message>
    <message>
        <source>turn the camera once about the scene in N positions, a frame each</source>
        <translation>die Kamera in N Stellungen einmal um die Szene führen, je ein Bild</translation>
    </message>
    <message>
        <source>step along a trajectory (csv, tum, txt, json), a frame a position</source>
        <translation>eine Trajektorie abfahren (csv, tum, txt, json), ein Bild je Stellung</translation>
    </message>
    <message>
        <source>record freely for so long, at a pace of its own</source>
        <translation>so lange frei aufnehmen, im eigenen Takt</translation>
    </message>
    <message>
        <source>frames a second of the video (default: the setting, 25)</source>
        <translation>Bilder je Sekunde im Video (Vorgabe: die Einstellung, 25)</translation>
    </message>
    <message>
        <source>bit rate in kbit/s, at least 100 (default: the setting, 1200)</source>
        <translation>Bitrate in kbit/s, mindestens 100 (Vorgabe: die Einstellung, 1200)</translation>
    </message>
    <message>
        <source>a command text to run; may be given several times, in order</source>
        <translation>ein auszuführender Befehl; mehrfach möglich, der Reihe nach</translation>
    </message>
    <message>
        <source>size of the view (default 1280x720)</source>
        <translation>Größe der Ansicht (Vorgabe 1280x720)</translation>
    </message>
    <message>
        <source>front, back, left, right, top, bottom or iso (default front)</source>
        <translation>front, back, left, right, top, bottom oder iso (Vorgabe front)</translation>
    </message>
    <message>
        <source>background colour (pictures keep it under alpha 0)</source>
        <translation>Hintergrundfarbe (Bilder behalten sie unter Alpha 0)</translation>
    </message>
    <message>
        <source>scene to eye, 16 numbers row by row, instead of --view</source>
        <translation>Szene nach Auge, 16 Zahlen zeilenweise, statt --view</translation>
    </message>
    <message>
        <source>settings file to use instead of the user&apos;s own</source>
        <translation>Einstellungsdatei anstelle der eigenen des Benutzers</translation>
    </message>
    <message>
        <source>say nothing but errors</source>
        <translation>nur Fehler melden</translation>
    </message>
    <message>
        <source>show the whole log, what draws among it</source>
        <translation>das ganze Protokoll zeigen, auch womit gezeichnet wird</translation>
    </message>
    <message>
        <source>show this help</source>
        <translation>diese Hilfe zeigen</translation>
    </message>
    <message>
        <source>show the version</source>
        <translation>die Version zeigen</translation>
    </message>
    <message>
        <source>makes a picture of models</source>
        <translation>macht ein Bild von Modellen</translation>
    </message>
    <message>
        <source>makes a video of models</source>
        <translation>macht ein Video von Modellen</translation>
    </message>
    <message>
        <source>runs command texts, e.g. grabimage filename=&quot;a.png&quot; width=4000</source>
        <translation>führt Befehle aus, z. B. grabimage filename=&quot;a.png&quot; width=4000</translation>
    </message>
    <message>
        <source>lists the commands with their parameters and defaults</source>
        <translation>listet die Befehle mit ihren Parametern und Vorgaben</translation>
    </message>
    <message>
        <source>lists the video formats</source>
        <translation>listet die Videoformate</translation>
    </message>
    <message>
        <source>lists the modules, their plug-ins, and what could not be loaded</source>
        <translation>listet die Module, ihre Plug-ins und was nicht geladen werden konnte</translation>
    </message>
    <message>
        <source>there is no display for a window; tov image, video and run work without one (tov --help)</source>
        <translation>es gibt keine Anzeige für ein Fenster; tov image, video und run kommen ohne aus (tov --help)</translation>
    </message>
    <message>
        <source>try an encoder plug-in apart from the program and report</source>
        <translation>ein Kodierer-Plug-in getrennt vom Programm prüfen und berichten</translation>
    </message>
    <message>
        <source>start without modules and plug-ins that are not part of the program</source>
        <translation>ohne Module und Plug-ins starten, die nicht zum Programm gehören</translation>
    </message>
    <message>
        <source>smooth edges: samples a pixel, 0 (off) to 16, as far as the driver goes (default: the setting, 0)</source>
        <translation>glatte Kanten: Abtastungen je Pixel, 0 (aus) bis 16, soweit der Treiber reicht (Vorgabe: die Einstellung, 0)</translation>
    </message>
</context>
<context>
    <name>CommandParser</name>
    <message>
        <source>line %1: %2</source>
        <translation>Zeile %1: %2</translation>
    </message>
    <message>
        <source>the quote at column %1 is not closed</source>
        <translation>das Anführungszeichen in Spalte %1 wird nicht geschlossen</translation>
    </message>
    <message>
        <source>there is a NUL character at column %1</source>
        <translation>in Spalte %1 steht ein NUL-Zeichen</translation>
    </message>
    <message>
        <source>&quot;%1&quot; stands where a command&apos;s name is expected</source>
        <translation>„%1“ steht, wo der Name eines Befehls erwartet wird</translation>
    </message>
    <message>
        <source>&quot;%1&quot; has no name before &quot;=&quot;</source>
        <translation>„%1“ hat keinen Namen vor „=“</translation>
    </message>
    <message>
        <source>&quot;%1&quot; stands after a named argument; arguments by position come first</source>
        <translation>„%1“ steht hinter einem benannten Argument; Argumente nach Position kommen zuerst</translation>
    </message>
</context>
<context>
    <name>Commands</name>
    <message>
        <source>Grabs an image of the scene</source>
        <translation>Macht ein Bild der Szene</translation>
    </message>
    <message>
        <source>Grabs a video of the active view</source>
        <translation>Nimmt ein Video der aktiven Ansicht auf</translation>
    </message>
    <message>
        <source>Sets the video settings</source>
        <translation>Stellt die Videoaufnahme ein</translation>
    </message>
    <message>
        <source>Offers picture and video grabbing of the scene</source>
        <translation>Bietet Bild- und Videoaufnahme der Szene</translation>
    </message>
    <message>
        <source>filename</source>
        <translation>Datei</translation>
    </message>
    <message>
        <source>width</source>
        <translation>Breite</translation>
    </message>
    <message>
        <source>height</source>
        <translation>Höhe</translation>
    </message>
    <message>
        <source>sync</source>
        <translation>Synchron</translation>
    </message>
    <message>
        <source>max. tempfile-size (MB)</source>
        <translation>max. Zwischenstück (MB)</translation>
    </message>
    <message>
        <source>fps</source>
        <translation>Bilder/s</translation>
    </message>
    <message>
        <source>bitrate</source>
        <translation>Bitrate</translation>
    </message>
    <message>
        <source>use memory buffer</source>
        <translation>Arbeitsspeicher nutzen</translation>
    </message>
</context>
<context>
    <name>FilePanel</name>
    <message>
        <source>Choose a file</source>
        <translation>Datei wählen</translation>
    </message>
    <message>
        <source>The ending of the name says the format, for instance %1.</source>
        <translation>Die Endung des Namens bestimmt das Format, zum Beispiel %1.</translation>
    </message>
</context>
<context>
    <name>ProgressLine</name>
    <message>
        <source>  %1 s left</source>
        <translation>  noch %1 s</translation>
    </message>
    <message>
        <source>  %1 s</source>
        <translation>  %1 s</translation>
    </message>
</context>
<context>
    <name>QObject</name>
    <message>
        <source>Grab</source>
        <translation>Aufnahme</translation>
    </message>
    <message>
        <source>Image</source>
        <translation>Bild</translation>
    </message>
    <message>
        <source>Imagefilename to save grab</source>
        <translation>Datei, in die das Bild gespeichert wird</translation>
    </message>
    <message>
        <source>Width of the grabbed image</source>
        <translation>Breite des Bildes in Pixeln</translation>
    </message>
    <message>
        <source>Save Image</source>
        <translation>Bild speichern</translation>
    </message>
    <message>
        <source>Building tiles</source>
        <translation>Kacheln werden gezeichnet</translation>
    </message>
    <message>
        <source>Saving image</source>
        <translation>Bild wird gespeichert</translation>
    </message>
    <message>
        <source>Grabbing image with %1 dpi</source>
        <translation>Bild mit %1 dpi wird gemacht</translation>
    </message>
    <message>
        <source>Video</source>
        <translation>Video</translation>
    </message>
    <message>
        <source>Filename to save video</source>
        <translation>Datei, in die das Video gespeichert wird</translation>
    </message>
    <message>
        <source>Width of the video (0=window-width)</source>
        <translation>Breite des Videos (0 = Breite der Ansicht)</translation>
    </message>
    <message>
        <source>Height of the video (0=window-height)</source>
        <translation>Höhe des Videos (0 = Höhe der Ansicht)</translation>
    </message>
    <message>
        <source>If enabled (0=true, 1=false) then the grabbing will be synced with the collisionpath steps</source>
        <translation>Wenn eingeschaltet (0=wahr, 1=falsch), folgt die Aufnahme den Schritten des Kollisionspfads</translation>
    </message>
    <message>
        <source>Save Video</source>
        <translation>Video speichern</translation>
    </message>
    <message>
        <source>Parameter failure</source>
        <translation>Fehlerhafter Parameter</translation>
    </message>
    <message>
        <source>There is no active scene window selected</source>
        <translation>Es ist keine Ansicht ausgewählt</translation>
    </message>
    <message>
        <source>RAW-Video grabbing started</source>
        <translation>Aufnahme der Rohbilder läuft</translation>
    </message>
    <message>
        <source>Selected width or height is to small (min. 16)</source>
        <translation>Gewählte Breite oder Höhe ist zu klein (mind. 16)</translation>
    </message>
    <message>
        <source>Video encoding started</source>
        <translation>Video wird kodiert</translation>
    </message>
    <message>
        <source>Video &apos;%1&apos; encoding done</source>
        <translation>Video „%1“ fertig kodiert</translation>
    </message>
    <message>
        <source>Video grabbing aborted</source>
        <translation>Videoaufnahme abgebrochen</translation>
    </message>
    <message>
        <source>Video settings</source>
        <translation>Videoeinstellungen</translation>
    </message>
    <message>
        <source>The max. filesize of a temp. encoding chunk</source>
        <translation>Höchste Größe eines Zwischenstücks</translation>
    </message>
    <message>
        <source>Frames per second</source>
        <translation>Bilder je Sekunde</translation>
    </message>
    <message>
        <source>Target bitrate in kbps</source>
        <translation>Ziel-Bitrate in kbit/s</translation>
    </message>
    <message>
        <source>If enabled (1=true, 0=false) memory will be used first to buffer temporary data</source>
        <translation>Wenn eingeschaltet (1=wahr, 0=falsch), wird zuerst Arbeitsspeicher für Zwischendaten benutzt</translation>
    </message>
    <message>
        <source>You can not grab videos with size %1 x %2 because your max. texture size is %3</source>
        <translation>Videos der Größe %1 x %2 sind nicht möglich, die größte Textur ist %3</translation>
    </message>
    <message>
        <source>No encoder for file &apos;%1&apos; found</source>
        <translation>Für die Datei „%1“ gibt es keinen Kodierer</translation>
    </message>
    <message>
        <source>Could not create OpenGL context!</source>
        <translation>OpenGL-Kontext konnte nicht angelegt werden!</translation>
    </message>
    <message>
        <source>Current OpenGL context is invalid!</source>
        <translation>Der aktuelle OpenGL-Kontext ist ungültig!</translation>
    </message>
    <message>
        <source>Could not determine the maximum texture size</source>
        <translation>Die größte Texturgröße ließ sich nicht ermitteln</translation>
    </message>
    <message>
        <source>Your OpenGL implementation doesn&apos;t support framebuffer objects</source>
        <translation>Dieses OpenGL kennt keine Framebuffer-Objekte</translation>
    </message>
    <message>
        <source>Couldn&apos;t bind FBO to OpenGL context</source>
        <translation>Das Framebuffer-Objekt ließ sich nicht an den OpenGL-Kontext binden</translation>
    </message>
    <message>
        <source>Picture couldn&apos;t be grabbed by FBO</source>
        <translation>Das Bild ließ sich nicht aus dem Framebuffer-Objekt lesen</translation>
    </message>
    <message>
        <source>Couldn&apos;t write %1 bytes to temporary file</source>
        <translation>%1 Bytes konnten nicht in die temporäre Datei geschrieben werden</translation>
    </message>
    <message>
        <source>There is no thread to record video &apos;%1&apos; with</source>
        <translation>Es gibt keinen Thread, um das Video „%1“ aufzunehmen</translation>
    </message>
</context>
<context>
    <name>StandardViews</name>
    <message>
        <source>Front</source>
        <translation>Vorn</translation>
    </message>
    <message>
        <source>Back</source>
        <translation>Hinten</translation>
    </message>
    <message>
        <source>Left</source>
        <translation>Links</translation>
    </message>
    <message>
        <source>Right</source>
        <translation>Rechts</translation>
    </message>
    <message>
        <source>Top</source>
        <translation>Oben</translation>
    </message>
    <message>
        <source>Bottom</source>
        <translation>Unten</translation>
    </message>
    <message>
        <source>Isometric</source>
        <translation>Isometrisch</translation>
    </message>
</context>
<context>
    <name>tov::app</name>
    <message>
        <source>%1 (see tov --help)</source>
        <translation>%1 (siehe tov --help)</translation>
    </message>
    <message>
        <source>%1 (see tov %2 --help)</source>
        <translation>%1 (siehe tov %2 --help)</translation>
    </message>
    <message>
        <source>there is no option %1</source>
        <translation>es gibt keine Option %1</translation>
    </message>
    <message>
        <source>the option %1 needs a verb, before everything else</source>
        <translation>die Option %1 braucht ein Verb, vor allem anderen</translation>
    </message>
    <message>
        <source>%1 has no option %2</source>
        <translation>%1 hat keine Option %2</translation>
    </message>
    <message>
        <source>%1 needs a value (%2)</source>
        <translation>%1 braucht einen Wert (%2)</translation>
    </message>
    <message>
        <source>%1 takes no value</source>
        <translation>%1 nimmt keinen Wert</translation>
    </message>
    <message>
        <source>tov shows 3D scenes and makes pictures and videos of them.</source>
        <translation>tov zeigt 3D-Szenen und macht Bilder und Videos davon.</translation>
    </message>
    <message>
        <source>opens the window</source>
        <translation>öffnet das Fenster</translation>
    </message>
    <message>
        <source>Everywhere:</source>
        <translation>Überall:</translation>
    </message>
    <message>
        <source>tov VERB --help tells more. Exit status: 0 done, 1 failed, 2 wrong usage, 130 stopped by Ctrl-C.</source>
        <translation>tov VERB --help sagt mehr. Rückgabewert: 0 fertig, 1 gescheitert, 2 falscher Aufruf, 130 mit Strg-C beendet.</translation>
    </message>
    <message>
        <source> (see tov image --help)</source>
        <translation> (siehe tov image --help)</translation>
    </message>
    <message>
        <source>image needs a model</source>
        <translation>image braucht ein Modell</translation>
    </message>
    <message>
        <source>image needs an output file: -o OUT</source>
        <translation>image braucht eine Ausgabedatei: -o OUT</translation>
    </message>
    <message>
        <source>--width: &quot;%1&quot; is no whole number of pixels</source>
        <translation>--width: „%1“ ist keine ganze Zahl von Pixeln</translation>
    </message>
    <message>
        <source>%1 pixels wide needs %2 MiB of memory, %3 are free; make the picture smaller</source>
        <translation>%1 Pixel Breite brauchen %2 MiB Speicher, %3 sind frei; bitte ein kleineres Bild wählen</translation>
    </message>
    <message>
        <source>%1 was not written</source>
        <translation>%1 wurde nicht geschrieben</translation>
    </message>
    <message>
        <source>%1 is incomplete; is the disk full?</source>
        <translation>%1 ist unvollständig; ist der Datenträger voll?</translation>
    </message>
    <message>
        <source>%1 was not made</source>
        <translation>%1 wurde nicht gemacht</translation>
    </message>
    <message>
        <source>%1: %2 x %3 pixels, %4 kB</source>
        <translation>%1: %2 x %3 Pixel, %4 kB</translation>
    </message>
    <message>
        <source> (see tov run --help)</source>
        <translation> (siehe tov run --help)</translation>
    </message>
    <message>
        <source>run needs a script, or -c TEXT</source>
        <translation>run braucht ein Skript oder -c TEXT</translation>
    </message>
    <message>
        <source>%1 cannot be read as a script: %2</source>
        <translation>%1 lässt sich nicht als Skript lesen: %2</translation>
    </message>
    <message>
        <source>it is a folder</source>
        <translation>es ist ein Ordner</translation>
    </message>
    <message>
        <source>there is no command to run</source>
        <translation>es gibt keinen Befehl auszuführen</translation>
    </message>
    <message>
        <source>%1, line %2: the script ends here</source>
        <translation>%1, Zeile %2: Das Skript endet hier</translation>
    </message>
    <message>
        <source>  [default %1]</source>
        <translation>  [Vorgabe %1]</translation>
    </message>
    <message>
        <source>no video encoder is loaded; tov modules tells more</source>
        <translation>kein Videokodierer ist geladen; tov modules sagt mehr</translation>
    </message>
    <message>
        <source>Drawing with: %1</source>
        <translation>Gezeichnet wird mit: %1</translation>
    </message>
    <message>
        <source>nothing, OpenGL cannot be used</source>
        <translation>nichts, OpenGL ist nicht verwendbar</translation>
    </message>
    <message>
        <source>Problem: %1</source>
        <translation>Problem: %1</translation>
    </message>
    <message>
        <source>no module could be loaded</source>
        <translation>kein Modul konnte geladen werden</translation>
    </message>
    <message>
        <source>%1 takes no file</source>
        <translation>%1 nimmt keine Datei</translation>
    </message>
    <message>
        <source>no video encoder is loaded, so no video can be written; tov modules tells more</source>
        <translation>kein Videokodierer ist geladen, also kann kein Video geschrieben werden; tov modules sagt mehr</translation>
    </message>
    <message>
        <source>%1: everything after the first dot is the format, and there is none named &quot;%2&quot;; leave out the other dots, e.g. %3</source>
        <translation>%1: Alles nach dem ersten Punkt ist das Format, und „%2“ gibt es nicht; bitte die übrigen Punkte weglassen, z. B. %3</translation>
    </message>
    <message>
        <source>%1 has no ending that says the format; known are %2</source>
        <translation>%1 hat keine Endung, die das Format nennt; bekannt sind %2</translation>
    </message>
    <message>
        <source>no video format &quot;%1&quot; is known; known are %2</source>
        <translation>das Videoformat „%1“ ist nicht bekannt; bekannt sind %2</translation>
    </message>
    <message>
        <source> (see tov video --help)</source>
        <translation> (siehe tov video --help)</translation>
    </message>
    <message>
        <source>video needs a model</source>
        <translation>video braucht ein Modell</translation>
    </message>
    <message>
        <source>video needs an output file: -o OUT</source>
        <translation>video braucht eine Ausgabedatei: -o OUT</translation>
    </message>
    <message>
        <source>--size: &quot;%1&quot; is no size; write it like 1280x720</source>
        <translation>--size: „%1“ ist keine Größe; Schreibweise wie 1280x720</translation>
    </message>
    <message>
        <source>video needs one of --turntable, --trajectory and --duration</source>
        <translation>video braucht eines von --turntable, --trajectory und --duration</translation>
    </message>
    <message>
        <source>--duration: &quot;%1&quot; is no number of seconds</source>
        <translation>--duration: „%1“ ist keine Zahl von Sekunden</translation>
    </message>
    <message>
        <source>--%1: &quot;%2&quot; is no number from 1 on</source>
        <translation>--%1: „%2“ ist keine Zahl ab 1</translation>
    </message>
    <message>
        <source>a video is at least 16 x 16 pixels</source>
        <translation>ein Video hat mindestens 16 x 16 Pixel</translation>
    </message>
    <message>
        <source>%1 x %2 pixels are more than can be drawn here (%3 each way)</source>
        <translation>%1 x %2 Pixel sind mehr, als hier gezeichnet werden kann (%3 je Richtung)</translation>
    </message>
    <message>
        <source>Note: %1 frames take %2 MB before they are encoded, %3 has %4 MB free; if encoding falls far behind, the recording may lose frames.</source>
        <translation>Hinweis: %1 Bilder brauchen vor dem Kodieren %2 MB, %3 hat %4 MB frei; fällt das Kodieren weit zurück, können Bilder verloren gehen.</translation>
    </message>
    <message>
        <source>%1 cannot be read back</source>
        <translation>%1 lässt sich nicht zurücklesen</translation>
    </message>
    <message>
        <source>%1 holds %2 frames instead of %3</source>
        <translation>%1 enthält %2 Bilder statt %3</translation>
    </message>
    <message>
        <source>, %1 frames</source>
        <translation>, %1 Bilder</translation>
    </message>
    <message>
        <source>Note: %1 frames a second were recorded, the video plays %2; it runs %3 times as fast as life.</source>
        <translation>Hinweis: %1 Bilder je Sekunde wurden aufgenommen, das Video spielt %2 ab; es läuft %3-mal so schnell wie in Wirklichkeit.</translation>
    </message>
    <message>
        <source>--panel: &quot;%1&quot; is no size; write it like 1280x720</source>
        <translation>--panel: „%1“ ist keine Größe; Schreibweise wie 1280x720</translation>
    </message>
    <message>
        <source>--view: there is no view &quot;%1&quot;; there are front, back, left, right, top, bottom, iso</source>
        <translation>--view: Die Ansicht „%1“ gibt es nicht; es gibt front, back, left, right, top, bottom, iso</translation>
    </message>
    <message>
        <source>--background: &quot;%1&quot; is no colour; write it like &apos;#204060&apos;</source>
        <translation>--background: „%1“ ist keine Farbe; Schreibweise wie &apos;#204060&apos;</translation>
    </message>
    <message>
        <source>--transform: 16 numbers are needed, row by row, in one argument</source>
        <translation>--transform: 16 Zahlen werden gebraucht, zeilenweise, in einem Argument</translation>
    </message>
    <message>
        <source>%1 is a folder; name a file</source>
        <translation>%1 ist ein Ordner; bitte eine Datei nennen</translation>
    </message>
    <message>
        <source>%1 is no ordinary file</source>
        <translation>%1 ist keine gewöhnliche Datei</translation>
    </message>
    <message>
        <source>%1 cannot be written: there is no folder %2</source>
        <translation>%1 kann nicht geschrieben werden: Den Ordner %2 gibt es nicht</translation>
    </message>
    <message>
        <source>%1 cannot be written: permission denied</source>
        <translation>%1 kann nicht geschrieben werden: keine Berechtigung</translation>
    </message>
    <message>
        <source>%1 cannot be started: %2</source>
        <translation>%1 kann nicht gestartet werden: %2</translation>
    </message>
    <message>
        <source>--turntable: &quot;%1&quot; is no number of positions (1 or more)</source>
        <translation>--turntable: „%1“ ist keine Zahl von Stellungen (ab 1)</translation>
    </message>
    <message>
        <source>Note: a gif plays at most %1 frames a second; frames were left out, so that it runs at its own speed.</source>
        <translation>Hinweis: Ein GIF zeigt höchstens %1 Bilder je Sekunde; Bilder wurden ausgelassen, damit es in seinem Tempo läuft.</translation>
    </message>
    <message>
        <source>Note: the start before crashed; --safe-mode leaves out what is not part of the program.</source>
        <translation>Hinweis: Der vorige Start ist abgestürzt; --safe-mode lässt weg, was nicht zum Programm gehört.</translation>
    </message>
    <message>
        <source>it crashed when it was tried (%1); it is tried again when the file changes</source>
        <translation>beim Ausprobieren abgestürzt (%1); wird wieder versucht, wenn sich die Datei ändert</translation>
    </message>
    <message>
        <source>it ended its process when it was tried (status %1); it is tried again when the file changes</source>
        <translation>hat beim Ausprobieren seinen Prozess beendet (Status %1); wird wieder versucht, wenn sich die Datei ändert</translation>
    </message>
    <message>
        <source>%1 was not written: a recording with sync=1 follows a trajectory, and there is none; give --trajectory or --turntable, or sync=0</source>
        <translation>%1 wurde nicht geschrieben: eine Aufnahme mit sync=1 folgt einer Trajektorie, und es gibt keine; bitte --trajectory oder --turntable angeben, oder sync=0</translation>
    </message>
    <message>
        <source>there is neither a verb nor a file named &quot;%1&quot;</source>
        <translation>weder ein Verb noch eine Datei heißt „%1“</translation>
    </message>
    <message>
        <source>it is larger than 16 MiB</source>
        <translation>es ist größer als 16 MiB</translation>
    </message>
    <message>
        <source>the display is gone (X server); what was written so far is kept</source>
        <translation>die Anzeige ist weg (X-Server); was bisher geschrieben wurde, bleibt erhalten</translation>
    </message>
    <message>
        <source>Note: %1 cannot be written; the settings hold for this call only.</source>
        <translation>Hinweis: %1 ist nicht beschreibbar; die Einstellungen gelten nur für diesen Aufruf.</translation>
    </message>
    <message>
        <source>%1 was not written: width and height are pixels, 0 for those of the view; %2 is below</source>
        <translation>%1 wurde nicht geschrieben: Breite und Höhe sind Pixel, 0 für die der Ansicht; %2 liegt darunter</translation>
    </message>
    <message>
        <source>Recording freely; Ctrl-C ends it and keeps what was captured.</source>
        <translation>Freie Aufnahme; Strg-C beendet sie und behält, was aufgenommen ist.</translation>
    </message>
    <message>
        <source>--samples: &quot;%1&quot; is no number from 0 to %2</source>
        <translation>--samples: „%1“ ist keine Zahl von 0 bis %2</translation>
    </message>
</context>
<context>
    <name>tov::app::LibraryProbe</name>
    <message>
        <source>left out, as --safe-mode says</source>
        <translation>weggelassen, wie --safe-mode es verlangt</translation>
    </message>
    <message>
        <source>it did not come back when it was tried</source>
        <translation>beim Ausprobieren hängen geblieben</translation>
    </message>
    <message>
        <source>there was no time left to try it; it is tried at the next start</source>
        <translation>zum Ausprobieren blieb keine Zeit; wird beim nächsten Start versucht</translation>
    </message>
    <message>
        <source>it could not be tried, the machine is short of processes or memory; it is tried at the next start</source>
        <translation>sie konnte nicht erprobt werden, dem Rechner fehlen Prozesse oder Speicher; sie wird beim nächsten Start erprobt</translation>
    </message>
</context>
<context>
    <name>tov::app::Session</name>
    <message>
        <source>Stopping; press Ctrl-C again to leave at once.</source>
        <translation>Wird beendet; noch einmal Strg-C bricht sofort ab.</translation>
    </message>
    <message>
        <source>Reading</source>
        <translation>Lesen</translation>
    </message>
    <message>
        <source>Note: %1 is no settings file and is left alone; settings hold for this call only.</source>
        <translation>Hinweis: %1 ist keine Datei mit Einstellungen und bleibt, wie sie ist; Einstellungen gelten nur für diesen Aufruf.</translation>
    </message>
    <message>
        <source>Note: the trajectory moves nothing: the scene has no element named &quot;carrier&quot;.</source>
        <translation>Hinweis: Die Trajektorie bewegt nichts: Die Szene hat kein Element namens „carrier“.</translation>
    </message>
    <message>
        <source>Note: the trajectory moves nothing: the scene has none of its elements, and it does not move the camera.</source>
        <translation>Hinweis: Die Trajektorie bewegt nichts: Die Szene hat keines ihrer Elemente, und die Kamera bewegt sie auch nicht.</translation>
    </message>
</context>
<context>
    <name>tov::app::SpaceWatch</name>
    <message>
        <source>%1 has only %2 left: the recording was stopped, what was captured is kept.</source>
        <translation>%1 hat nur noch %2 frei: Die Aufnahme wurde beendet, Aufgenommenes bleibt erhalten.</translation>
    </message>
    <message>
        <source>nothing was recorded: %1 has only %2 left, recordings stop below %3</source>
        <translation>nichts aufgenommen: %1 hat nur noch %2 frei, unter %3 enden Aufnahmen</translation>
    </message>
    <message>
        <source>%1 free</source>
        <translation>%1 frei</translation>
    </message>
    <message>
        <source>%1, %2 waiting</source>
        <translation>%1, %2 warten</translation>
    </message>
</context>
<context>
    <name>tov::main::CommandProcessor</name>
    <message>
        <source>There is no command &quot;%1&quot;: no module is loaded</source>
        <translation>Den Befehl „%1“ gibt es nicht: Kein Modul ist geladen</translation>
    </message>
    <message>
        <source>There is no command &quot;%1&quot;; there are: %2</source>
        <translation>Den Befehl „%1“ gibt es nicht; es gibt: %2</translation>
    </message>
    <message>
        <source>%1 cannot run now: it is disabled</source>
        <translation>%1 geht gerade nicht: Der Befehl ist ausgeschaltet</translation>
    </message>
    <message>
        <source>%1 is still running</source>
        <translation>%1 läuft noch</translation>
    </message>
    <message>
        <source>There is no command in the text</source>
        <translation>Der Text enthält keinen Befehl</translation>
    </message>
    <message>
        <source>There is more than one command</source>
        <translation>Es ist mehr als ein Befehl</translation>
    </message>
    <message>
        <source>%1 is not registered</source>
        <translation>%1 ist nicht angemeldet</translation>
    </message>
</context>
<context>
    <name>tov::scene</name>
    <message>
        <source>a face names a vertex that is not there</source>
        <translation>eine Fläche nennt einen Eckpunkt, den es nicht gibt</translation>
    </message>
    <message>
        <source>line %1: %2</source>
        <translation>Zeile %1: %2</translation>
    </message>
    <message>
        <source>a number is missing</source>
        <translation>eine Zahl fehlt</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is no number</source>
        <translation>„%1“ ist keine Zahl</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is no index</source>
        <translation>„%1“ ist kein Index</translation>
    </message>
    <message>
        <source>the index %1 is out of range, there are %2</source>
        <translation>der Index %1 liegt außerhalb, es gibt %2</translation>
    </message>
    <message>
        <source>a face needs three vertices</source>
        <translation>eine Fläche braucht drei Eckpunkte</translation>
    </message>
    <message>
        <source>a line needs two vertices</source>
        <translation>eine Linie braucht zwei Eckpunkte</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is no statement of a Wavefront OBJ file</source>
        <translation>„%1“ ist keine Anweisung einer Wavefront-OBJ-Datei</translation>
    </message>
    <message>
        <source>the file ends inside its header</source>
        <translation>die Datei endet in ihrem Kopf</translation>
    </message>
    <message>
        <source>line %1: this is no header of a PLY file</source>
        <translation>Zeile %1: Dies ist kein Kopf einer PLY-Datei</translation>
    </message>
    <message>
        <source>the file does not begin with &quot;ply&quot;</source>
        <translation>die Datei beginnt nicht mit „ply“</translation>
    </message>
    <message>
        <source>the format &quot;%1&quot; is unknown</source>
        <translation>das Format „%1“ ist unbekannt</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is no count</source>
        <translation>„%1“ ist keine Anzahl</translation>
    </message>
    <message>
        <source>this property cannot be read</source>
        <translation>diese Eigenschaft ist nicht lesbar</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is no statement of a PLY header</source>
        <translation>„%1“ ist keine Anweisung eines PLY-Kopfs</translation>
    </message>
    <message>
        <source>the header names no format</source>
        <translation>der Kopf nennt kein Format</translation>
    </message>
    <message>
        <source>the header promises %1 of &quot;%2&quot;, but the file is too short for them</source>
        <translation>der Kopf verspricht %1 von „%2“, aber dafür ist die Datei zu kurz</translation>
    </message>
    <message>
        <source>there are more vertices than can be shown</source>
        <translation>es sind mehr Eckpunkte, als gezeigt werden können</translation>
    </message>
    <message>
        <source>the vertices have no x, y and z</source>
        <translation>die Eckpunkte haben kein x, y und z</translation>
    </message>
    <message>
        <source>a list promises more entries than the file holds</source>
        <translation>eine Liste verspricht mehr Einträge, als die Datei enthält</translation>
    </message>
    <message>
        <source>a face names the vertex %1, there are %2</source>
        <translation>eine Fläche nennt den Eckpunkt %1, es gibt %2</translation>
    </message>
    <message>
        <source>line %1: &quot;%2&quot; is no number</source>
        <translation>Zeile %1: „%2“ ist keine Zahl</translation>
    </message>
    <message>
        <source>line %1: a facet has %2 corners instead of 3</source>
        <translation>Zeile %1: Eine Facette hat %2 Ecken statt 3</translation>
    </message>
    <message>
        <source>line %1: the file ends in the middle of its data</source>
        <translation>Zeile %1: Die Datei endet mitten in ihren Daten</translation>
    </message>
    <message>
        <source>the file is too short for an STL file</source>
        <translation>die Datei ist zu kurz für eine STL-Datei</translation>
    </message>
    <message>
        <source>the header promises %1 triangles, but the file is too short for them</source>
        <translation>der Kopf verspricht %1 Dreiecke, aber dafür ist die Datei zu kurz</translation>
    </message>
    <message>
        <source>a coordinate is no finite number</source>
        <translation>eine Koordinate ist keine endliche Zahl</translation>
    </message>
    <message>
        <source>what was read of it is not whole</source>
        <translation>was davon gelesen wurde, ist unvollständig</translation>
    </message>
    <message>
        <source>it has more vertices than can be counted</source>
        <translation>sie hat mehr Eckpunkte, als gezählt werden können</translation>
    </message>
    <message>
        <source>the part of the program that reads such files is missing (%1)</source>
        <translation>der Teil des Programms, der solche Dateien liest, fehlt (%1)</translation>
    </message>
    <message>
        <source>a process cannot be started: %1</source>
        <translation>ein Prozess kann nicht gestartet werden: %1</translation>
    </message>
    <message>
        <source>it is damaged</source>
        <translation>sie ist beschädigt</translation>
    </message>
    <message>
        <source>reading it took more than %1 s of processor time; it may be damaged (TOV_IMPORT_SECONDS allows more)</source>
        <translation>das Lesen brauchte mehr als %1 s Rechenzeit; vielleicht ist sie beschädigt (TOV_IMPORT_SECONDS erlaubt mehr)</translation>
    </message>
    <message>
        <source>it is damaged: reading it crashed, in a process of its own</source>
        <translation>sie ist beschädigt: Das Lesen ist abgestürzt, in einem eigenen Prozess</translation>
    </message>
</context>
<context>
    <name>tov::scene::Body</name>
    <message>
        <source>the file ends in the middle of its data</source>
        <translation>die Datei endet mitten in ihren Daten</translation>
    </message>
    <message>
        <source>line %1: the file ends in the middle of its data</source>
        <translation>Zeile %1: Die Datei endet mitten in ihren Daten</translation>
    </message>
    <message>
        <source>line %1: &quot;%2&quot; is no number</source>
        <translation>Zeile %1: „%2“ ist keine Zahl</translation>
    </message>
</context>
<context>
    <name>tov::scene::Cursor</name>
    <message>
        <source>what was read of it is not whole</source>
        <translation>was davon gelesen wurde, ist unvollständig</translation>
    </message>
</context>
<context>
    <name>tov::scene::SceneImport</name>
    <message>
        <source>%1 cannot be opened: %2</source>
        <translation>%1 kann nicht geöffnet werden: %2</translation>
    </message>
    <message>
        <source>there is no such file</source>
        <translation>diese Datei gibt es nicht</translation>
    </message>
    <message>
        <source>it is a folder</source>
        <translation>es ist ein Ordner</translation>
    </message>
    <message>
        <source>it is no ordinary file</source>
        <translation>es ist keine gewöhnliche Datei</translation>
    </message>
    <message>
        <source>files of the type &quot;%1&quot; cannot be read; known are %2</source>
        <translation>Dateien der Art „%1“ sind nicht lesbar; bekannt sind %2</translation>
    </message>
    <message>
        <source>it is empty</source>
        <translation>sie ist leer</translation>
    </message>
    <message>
        <source>there is nothing in it that can be shown</source>
        <translation>sie enthält nichts, was gezeigt werden kann</translation>
    </message>
    <message>
        <source>stopped</source>
        <translation>beendet</translation>
    </message>
    <message>
        <source>there is not enough memory for it</source>
        <translation>der Speicher reicht dafür nicht</translation>
    </message>
</context>
<context>
    <name>tov::trajectory</name>
    <message>
        <source>line %1: %2</source>
        <translation>Zeile %1: %2</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is no number</source>
        <translation>„%1“ ist keine Zahl</translation>
    </message>
</context>
<context>
    <name>tov::trajectory::TrajectoryHandler</name>
    <message>
        <source>%1 cannot be opened as a trajectory: %2</source>
        <translation>%1 kann nicht als Trajektorie geöffnet werden: %2</translation>
    </message>
    <message>
        <source>there is no such file</source>
        <translation>diese Datei gibt es nicht</translation>
    </message>
    <message>
        <source>it is no ordinary file</source>
        <translation>es ist keine gewöhnliche Datei</translation>
    </message>
    <message>
        <source>files of the type &quot;%1&quot; cannot be read; known are csv, tum, txt and json</source>
        <translation>Dateien der Art „%1“ sind nicht lesbar; bekannt sind csv, tum, txt und json</translation>
    </message>
    <message>
        <source>it is larger than 256 MiB</source>
        <translation>sie ist größer als 256 MiB</translation>
    </message>
    <message>
        <source>A turntable needs at least one position</source>
        <translation>Ein Drehteller braucht mindestens eine Stellung</translation>
    </message>
    <message>
        <source>A turntable starts from a view: open a panel first</source>
        <translation>Ein Drehteller geht von einer Ansicht aus: bitte erst eine öffnen</translation>
    </message>
    <message>
        <source>The view of the active panel cannot be turned</source>
        <translation>Die aktive Ansicht lässt sich nicht drehen</translation>
    </message>
</context>
<context>
    <name>tov::trajectory::TrajectoryReader</name>
    <message>
        <source>there are %1 numbers instead of 3 (x,y,z)</source>
        <translation>es sind %1 Zahlen statt 3 (x,y,z)</translation>
    </message>
    <message>
        <source>the file holds no point</source>
        <translation>die Datei enthält keinen Punkt</translation>
    </message>
    <message>
        <source>there are %1 numbers instead of 8 (t x y z qx qy qz qw)</source>
        <translation>es sind %1 Zahlen statt 8 (t x y z qx qy qz qw)</translation>
    </message>
    <message>
        <source>the quaternion is zero</source>
        <translation>das Quaternion ist null</translation>
    </message>
    <message>
        <source>the file holds no pose</source>
        <translation>die Datei enthält keine Pose</translation>
    </message>
    <message>
        <source>the file holds no list of positions</source>
        <translation>die Datei enthält keine Liste von Stellungen</translation>
    </message>
    <message>
        <source>position %1: an object is expected</source>
        <translation>Stellung %1: Ein Objekt wird erwartet</translation>
    </message>
    <message>
        <source>position %1: &quot;%2&quot; has %3 numbers instead of 16</source>
        <translation>Stellung %1: „%2“ hat %3 Zahlen statt 16</translation>
    </message>
    <message>
        <source>position %1: &quot;%2&quot; holds something that is no number</source>
        <translation>Stellung %1: „%2“ enthält etwas, das keine Zahl ist</translation>
    </message>
</context>
<context>
    <name>tov::viewer</name>
    <message>
        <source>tov crashed</source>
        <translation>tov ist abgestürzt</translation>
    </message>
    <message>
        <source>tov crashed when it was started last. Start now without modules and plug-ins that are not part of it?</source>
        <translation>Beim letzten Start ist tov abgestürzt. Jetzt ohne Module und Plug-ins starten, die nicht dazugehören?</translation>
    </message>
    <message>
        <source>Start in safe mode</source>
        <translation>Abgesichert starten</translation>
    </message>
    <message>
        <source>Start as usual</source>
        <translation>Wie gewohnt starten</translation>
    </message>
</context>
<context>
    <name>tov::viewer::AboutDialog</name>
    <message>
        <source>About tov</source>
        <translation>Über tov</translation>
    </message>
    <message>
        <source>&lt;h2&gt;tov %1&lt;/h2&gt;&lt;p&gt;3D scenes, pictures of any size and videos.&lt;/p&gt;</source>
        <translation>&lt;h2&gt;tov %1&lt;/h2&gt;&lt;p&gt;3D-Szenen, Bilder beliebiger Größe und Videos.&lt;/p&gt;</translation>
    </message>
    <message>
        <source>&lt;p&gt;Drawn by: %1&lt;br&gt;Qt %2, built with %3&lt;/p&gt;</source>
        <translation>&lt;p&gt;Gezeichnet von: %1&lt;br&gt;Qt %2, gebaut mit %3&lt;/p&gt;</translation>
    </message>
</context>
<context>
    <name>tov::viewer::AboutModulesDialog</name>
    <message>
        <source>About modules</source>
        <translation>Über Module</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>Name</translation>
    </message>
    <message>
        <source>Description</source>
        <translation>Beschreibung</translation>
    </message>
    <message>
        <source>Version</source>
        <translation>Version</translation>
    </message>
    <message>
        <source>Author</source>
        <translation>Urheber</translation>
    </message>
    <message>
        <source>Could not be loaded</source>
        <translation>Konnte nicht geladen werden</translation>
    </message>
</context>
<context>
    <name>tov::viewer::CommandLineEdit</name>
    <message>
        <source>Type a command, Tab completes, e.g. grabimage filename=&quot;picture.png&quot; width=4000</source>
        <translation>Befehl eingeben, Tab ergänzt, z. B. grabimage filename=&quot;bild.png&quot; width=4000</translation>
    </message>
</context>
<context>
    <name>tov::viewer::ConsoleWidget</name>
    <message>
        <source>Parameter</source>
        <translation>Parameter</translation>
    </message>
    <message>
        <source>Error</source>
        <translation>Fehler</translation>
    </message>
    <message>
        <source>Result</source>
        <translation>Ergebnis</translation>
    </message>
    <message>
        <source>Information</source>
        <translation>Hinweis</translation>
    </message>
    <message>
        <source>Copy</source>
        <translation>Kopieren</translation>
    </message>
    <message>
        <source>Clear</source>
        <translation>Leeren</translation>
    </message>
    <message>
        <source>Everything</source>
        <translation>Alles</translation>
    </message>
    <message>
        <source>Results and errors</source>
        <translation>Ergebnisse und Fehler</translation>
    </message>
    <message>
        <source>Errors</source>
        <translation>Fehler</translation>
    </message>
    <message>
        <source>Filter</source>
        <translation>Filter</translation>
    </message>
</context>
<context>
    <name>tov::viewer::MainWindow</name>
    <message>
        <source>The scene is kept as it is until the picture is done; the change follows then.</source>
        <translation>Die Szene bleibt, wie sie ist, bis das Bild fertig ist; die Änderung folgt dann.</translation>
    </message>
    <message>
        <source>Open a model: File &gt; Open, or drop it here.</source>
        <translation>Modell öffnen: Datei &gt; Öffnen, oder hierher ziehen.</translation>
    </message>
    <message>
        <source>Scene</source>
        <translation>Szene</translation>
    </message>
    <message>
        <source>Console</source>
        <translation>Konsole</translation>
    </message>
    <message>
        <source>&amp;File</source>
        <translation>&amp;Datei</translation>
    </message>
    <message>
        <source>&amp;Open ...</source>
        <translation>Ö&amp;ffnen ...</translation>
    </message>
    <message>
        <source>Open &amp;recent</source>
        <translation>&amp;Zuletzt geöffnet</translation>
    </message>
    <message>
        <source>Open &amp;trajectory ...</source>
        <translation>&amp;Trajektorie öffnen ...</translation>
    </message>
    <message>
        <source>&amp;Copy view to clipboard</source>
        <translation>Ansicht in die Zwischenablage &amp;kopieren</translation>
    </message>
    <message>
        <source>&amp;Preferences ...</source>
        <translation>&amp;Einstellungen ...</translation>
    </message>
    <message>
        <source>&amp;Quit</source>
        <translation>&amp;Beenden</translation>
    </message>
    <message>
        <source>&amp;View</source>
        <translation>&amp;Ansicht</translation>
    </message>
    <message>
        <source>One panel</source>
        <translation>Eine Ansicht</translation>
    </message>
    <message>
        <source>%1 panels</source>
        <translation>%1 Ansichten</translation>
    </message>
    <message>
        <source>Close active panel</source>
        <translation>Aktive Ansicht schließen</translation>
    </message>
    <message>
        <source>&amp;Fit to view</source>
        <translation>&amp;Einpassen</translation>
    </message>
    <message>
        <source>F&amp;ull screen</source>
        <translation>&amp;Vollbild</translation>
    </message>
    <message>
        <source>&amp;Help</source>
        <translation>&amp;Hilfe</translation>
    </message>
    <message>
        <source>&amp;Keys and mouse ...</source>
        <translation>&amp;Tasten und Maus ...</translation>
    </message>
    <message>
        <source>About &amp;modules ...</source>
        <translation>Über &amp;Module ...</translation>
    </message>
    <message>
        <source>&amp;About tov ...</source>
        <translation>&amp;Über tov ...</translation>
    </message>
    <message>
        <source>&amp;Guide for pictures and videos</source>
        <translation>&amp;Rahmen für Bilder und Videos</translation>
    </message>
    <message>
        <source>Off</source>
        <translation>Aus</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>Öffnen</translation>
    </message>
    <message>
        <source>Models (%1);;Trajectories (*.csv *.tum *.txt *.json);;All files (*)</source>
        <translation>Modelle (%1);;Trajektorien (*.csv *.tum *.txt *.json);;Alle Dateien (*)</translation>
    </message>
    <message>
        <source>Another file is still being opened; try again then.</source>
        <translation>Eine andere Datei wird noch geöffnet; bitte danach noch einmal.</translation>
    </message>
    <message>
        <source>Opening %1</source>
        <translation>%1 wird geöffnet</translation>
    </message>
    <message numerus="yes">
        <source>Opening %n files</source>
        <translation>
            <numerusform>%n Datei wird geöffnet</numerusform>
            <numerusform>%n Dateien werden geöffnet</numerusform>
        </translation>
    </message>
    <message>
        <source>Opening was stopped.</source>
        <translation>Das Öffnen wurde beendet.</translation>
    </message>
    <message>
        <source>%1 opened.</source>
        <translation>%1 geöffnet.</translation>
    </message>
    <message>
        <source>No trajectory is open, so a synchronised recording would hold no frames. Open one first (File &gt; Open trajectory), or switch &quot;sync&quot; off.</source>
        <translation>Es ist keine Trajektorie geöffnet; eine synchronisierte Aufnahme enthielte kein Bild. Bitte erst eine öffnen (Datei &gt; Trajektorie öffnen) oder „Synchron“ ausschalten.</translation>
    </message>
    <message>
        <source>%1 exists already. Replace it?</source>
        <translation>%1 gibt es schon. Ersetzen?</translation>
    </message>
    <message>
        <source>Replace</source>
        <translation>Ersetzen</translation>
    </message>
    <message>
        <source>No trajectory is open, so a recording that is synchronised with it holds no frames. Open one with File &gt; Open trajectory, or record with &quot;sync&quot; off.</source>
        <translation>Es ist keine Trajektorie geöffnet; eine damit synchronisierte Aufnahme enthält kein Bild. Bitte eine öffnen (Datei &gt; Trajektorie öffnen) oder mit „Synchron“ aus aufnehmen.</translation>
    </message>
    <message>
        <source>%1: %2</source>
        <translation>%1: %2</translation>
    </message>
    <message>
        <source>, %1 x %2 pixels</source>
        <translation>, %1 x %2 Pixel</translation>
    </message>
    <message>
        <source>, done in %1</source>
        <translation>, fertig in %1</translation>
    </message>
    <message>
        <source>, %1 frames, %2 s long</source>
        <translation>, %1 Bilder, %2 s lang</translation>
    </message>
    <message>
        <source>, but it cannot be read back</source>
        <translation>, lässt sich aber nicht zurücklesen</translation>
    </message>
    <message>
        <source>Nothing was written to %1. The console tells more.</source>
        <translation>In %1 wurde nichts geschrieben. Die Konsole sagt mehr.</translation>
    </message>
    <message>
        <source>Nothing was written to %1: %2</source>
        <translation>In %1 wurde nichts geschrieben: %2</translation>
    </message>
    <message>
        <source>There is no view to copy: open a panel first.</source>
        <translation>Es gibt keine Ansicht zu kopieren: bitte erst eine öffnen.</translation>
    </message>
    <message>
        <source>View copied, %1 x %2 pixels.</source>
        <translation>Ansicht kopiert, %1 x %2 Pixel.</translation>
    </message>
    <message>
        <source>Pictures are not available here; Help &gt; About modules tells why.</source>
        <translation>Bilder sind hier nicht möglich; Hilfe &gt; Über Module sagt, warum.</translation>
    </message>
    <message>
        <source>&quot;%1&quot; was asked to stop and has not ended yet. A picture is finished first; an encoder that hangs never ends. You can go on working.</source>
        <translation>„%1“ sollte beendet werden und läuft noch. Ein Bild wird erst fertig gemacht; ein Kodierer, der hängt, endet nie. Sie können weiterarbeiten.</translation>
    </message>
    <message>
        <source>Opening files</source>
        <translation>Dateien werden geöffnet</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>Beenden</translation>
    </message>
    <message>
        <source>Still running:
%1

Recordings are stopped and what they captured is written; pictures are finished. Then the window closes.</source>
        <translation>Noch in Arbeit:
%1

Aufnahmen werden beendet und geschrieben, Bilder fertig gemacht. Dann schließt sich das Fenster.</translation>
    </message>
    <message>
        <source>Finish and quit</source>
        <translation>Fertigstellen und beenden</translation>
    </message>
    <message>
        <source>Finishing what is running ...</source>
        <translation>Laufendes wird fertiggestellt ...</translation>
    </message>
    <message>
        <source>Something does not end. Wait for it, or quit without it? What it has not written yet is lost.</source>
        <translation>Etwas endet nicht. Warten oder ohne es beenden? Was es noch nicht geschrieben hat, geht verloren.</translation>
    </message>
    <message>
        <source>Wait</source>
        <translation>Warten</translation>
    </message>
    <message>
        <source>Quit without it</source>
        <translation>Ohne es beenden</translation>
    </message>
    <message>
        <source>Only files of this computer can be opened.</source>
        <translation>Nur Dateien dieses Rechners können geöffnet werden.</translation>
    </message>
    <message>
        <source>A recording takes no more frames: %1. What it has is kept; stop it if it does not end by itself.</source>
        <translation>Eine Aufnahme nimmt keine Bilder mehr auf: %1. Was sie hat, bleibt; beenden Sie sie, wenn sie nicht von selbst endet.</translation>
    </message>
    <message>
        <source>%1: there is no thread to read it with</source>
        <translation>%1: Es gibt keinen Thread, um es zu lesen</translation>
    </message>
</context>
<context>
    <name>tov::viewer::NoticeBar</name>
    <message>
        <source>Close this message</source>
        <translation>Diese Meldung schließen</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>Öffnen</translation>
    </message>
    <message>
        <source>Open folder</source>
        <translation>Ordner öffnen</translation>
    </message>
</context>
<context>
    <name>tov::viewer::PanelFrame</name>
    <message>
        <source>The guide is wider than this panel: a picture of that shape shows more at both sides.</source>
        <translation>Der Rahmen ist breiter als diese Ansicht: Ein Bild dieser Form zeigt links und rechts mehr.</translation>
    </message>
    <message>
        <source>Fit to view</source>
        <translation>Einpassen</translation>
    </message>
    <message>
        <source>Camera follows the trajectory</source>
        <translation>Kamera folgt der Trajektorie</translation>
    </message>
    <message>
        <source>Close this panel</source>
        <translation>Diese Ansicht schließen</translation>
    </message>
</context>
<context>
    <name>tov::viewer::ParameterDialog</name>
    <message>
        <source>A value is needed here.</source>
        <translation>Hier wird ein Wert gebraucht.</translation>
    </message>
    <message>
        <source>&quot;%1&quot; cannot be used here.</source>
        <translation>„%1“ ist hier nicht verwendbar.</translation>
    </message>
</context>
<context>
    <name>tov::viewer::PreferencesDialog</name>
    <message>
        <source>Preferences</source>
        <translation>Einstellungen</translation>
    </message>
    <message>
        <source>Background</source>
        <translation>Hintergrund</translation>
    </message>
    <message>
        <source>Background:</source>
        <translation>Hintergrund:</translation>
    </message>
    <message>
        <source>Off</source>
        <translation>Aus</translation>
    </message>
    <message>
        <source>%1 samples</source>
        <translation>%1 Abtastungen</translation>
    </message>
    <message>
        <source>Anti-aliasing:</source>
        <translation>Kantenglättung:</translation>
    </message>
    <message>
        <source>As the desktop</source>
        <translation>Wie die Arbeitsumgebung</translation>
    </message>
    <message>
        <source>Light</source>
        <translation>Hell</translation>
    </message>
    <message>
        <source>Dark</source>
        <translation>Dunkel</translation>
    </message>
    <message>
        <source>Colours:</source>
        <translation>Farben:</translation>
    </message>
</context>
<context>
    <name>tov::viewer::RecentFiles</name>
    <message>
        <source>No files yet</source>
        <translation>Noch keine Dateien</translation>
    </message>
    <message>
        <source>Clear this list</source>
        <translation>Diese Liste leeren</translation>
    </message>
</context>
<context>
    <name>tov::viewer::RunsBar</name>
    <message>
        <source>%1 s</source>
        <translation>%1 s</translation>
    </message>
    <message>
        <source>%1 min %2 s</source>
        <translation>%1 min %2 s</translation>
    </message>
    <message>
        <source>%1 h %2 min</source>
        <translation>%1 h %2 min</translation>
    </message>
    <message>
        <source>Stop</source>
        <translation>Beenden</translation>
    </message>
    <message>
        <source>Stopping ...</source>
        <translation>Wird beendet ...</translation>
    </message>
    <message>
        <source>Running for</source>
        <translation>Läuft seit</translation>
    </message>
    <message>
        <source>%1 left</source>
        <translation>noch %1</translation>
    </message>
    <message>
        <source>Time left</source>
        <translation>Verbleibende Zeit</translation>
    </message>
    <message>
        <source>Room on the disk that it writes to, and about how much has not been encoded yet</source>
        <translation>Platz auf dem Datenträger, auf den geschrieben wird, und ungefähr, wie viel noch nicht kodiert ist</translation>
    </message>
</context>
<context>
    <name>tov::viewer::SceneTree</name>
    <message>
        <source>(no name)</source>
        <translation>(ohne Namen)</translation>
    </message>
</context>
<context>
    <name>tov::viewer::ShortcutsDialog</name>
    <message>
        <source>Keys and mouse</source>
        <translation>Tasten und Maus</translation>
    </message>
    <message>
        <source>What</source>
        <translation>Was</translation>
    </message>
    <message>
        <source>How</source>
        <translation>Wie</translation>
    </message>
    <message>
        <source>Turn the view</source>
        <translation>Ansicht drehen</translation>
    </message>
    <message>
        <source>Left button, arrow keys, Ctrl + wheel</source>
        <translation>Linke Taste, Pfeiltasten, Strg + Rad</translation>
    </message>
    <message>
        <source>Move the view</source>
        <translation>Ansicht verschieben</translation>
    </message>
    <message>
        <source>Middle or right button, Shift + left button, Shift + wheel</source>
        <translation>Mittlere oder rechte Taste, Umschalt + linke Taste, Umschalt + Rad</translation>
    </message>
    <message>
        <source>Zoom at the pointer</source>
        <translation>Am Zeiger vergrößern</translation>
    </message>
    <message>
        <source>Wheel, two fingers, + and -</source>
        <translation>Rad, zwei Finger, + und -</translation>
    </message>
    <message>
        <source>The panel&apos;s own menu</source>
        <translation>Menü der Ansicht</translation>
    </message>
    <message>
        <source>Right click</source>
        <translation>Rechtsklick</translation>
    </message>
</context>
<context>
    <name>tov::viewer::Splash</name>
    <message>
        <source>3D scenes, pictures and videos</source>
        <translation>3D-Szenen, Bilder und Videos</translation>
    </message>
</context>
<context>
    <name>tov::viewer::TrajectoryBar</name>
    <message>
        <source>Trajectory</source>
        <translation>Trajektorie</translation>
    </message>
    <message>
        <source>Open trajectory ...</source>
        <translation>Trajektorie öffnen ...</translation>
    </message>
    <message>
        <source>Turntable ...</source>
        <translation>Drehteller ...</translation>
    </message>
    <message>
        <source>Turntable</source>
        <translation>Drehteller</translation>
    </message>
    <message>
        <source>Positions of one turn:</source>
        <translation>Stellungen einer Umdrehung:</translation>
    </message>
    <message>
        <source>Previous position</source>
        <translation>Vorige Stellung</translation>
    </message>
    <message>
        <source>Play</source>
        <translation>Abspielen</translation>
    </message>
    <message>
        <source>Next position</source>
        <translation>Nächste Stellung</translation>
    </message>
    <message>
        <source>Loop</source>
        <translation>Wiederholen</translation>
    </message>
    <message>
        <source>Begin again at the first position after the last</source>
        <translation>Nach der letzten Stellung bei der ersten beginnen</translation>
    </message>
    <message>
        <source>Camera follows</source>
        <translation>Kamera folgt</translation>
    </message>
    <message>
        <source>Whether the trajectory&apos;s camera moves the active panel</source>
        <translation>Ob die Kamera der Trajektorie die aktive Ansicht bewegt</translation>
    </message>
    <message>
        <source>Pause</source>
        <translation>Anhalten</translation>
    </message>
    <message>
        <source>%1 of %2</source>
        <translation>%1 von %2</translation>
    </message>
    <message>
        <source>No trajectory</source>
        <translation>Keine Trajektorie</translation>
    </message>
    <message>
        <source>Open trajectory</source>
        <translation>Trajektorie öffnen</translation>
    </message>
    <message>
        <source>Trajectories (*.csv *.tum *.txt *.json);;All files (*)</source>
        <translation>Trajektorien (*.csv *.tum *.txt *.json);;Alle Dateien (*)</translation>
    </message>
</context>
</TS>

<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE" sourcelanguage="en">
<context>
    <name>Command</name>
    <message>
        <source>%1 takes %2 arguments at most, %3 were given</source>
        <translation>%1 hat höchstens %2 Argumente, angegeben sind %3</translation>
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
        <translation>%1: Der Wert von „%2“ ist unzulässig: %3</translation>
    </message>
    <message>
        <source>%1: the value of &quot;%2&quot; cannot be used</source>
        <translation>%1: Der Wert von „%2“ ist unzulässig</translation>
    </message>
    <message>
        <source>%1: the argument &quot;%2&quot; is missing</source>
        <translation>%1: Das Argument „%2“ fehlt</translation>
    </message>
</context>
<context>
    <name>CommandLine</name>
    <message>
        <source>scene to eye, 16 numbers row by row, instead of --view</source>
        <translation>Szene zu Auge, 16 Zahlen zeilenweise, anstelle von --view</translation>
    </message>
    <message>
        <source>settings file to use instead of the user&apos;s own</source>
        <translation>Einstellungsdatei anstelle der eigenen des Benutzers</translation>
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
        <source>there is no display for a window; tov image, video and run work without one (tov --help)</source>
        <translation>es gibt keine Anzeige für das Fenster; tov image, video und run brauchen keine (tov --help)</translation>
    </message>
    <message>
        <source>Output</source>
        <translation>Ausgabe</translation>
    </message>
    <message>
        <source>View</source>
        <translation>Ansicht</translation>
    </message>
    <message>
        <source>Look</source>
        <translation>Darstellung</translation>
    </message>
    <message>
        <source>Size</source>
        <translation>Größe</translation>
    </message>
    <message>
        <source>Picture</source>
        <translation>Bild</translation>
    </message>
    <message>
        <source>Video</source>
        <translation>Video</translation>
    </message>
    <message>
        <source>Many results</source>
        <translation>Viele Ergebnisse</translation>
    </message>
    <message>
        <source>Commands</source>
        <translation>Befehle</translation>
    </message>
    <message>
        <source>General</source>
        <translation>Allgemein</translation>
    </message>
    <message>
        <source>format for -o -, e.g. png, mkv</source>
        <translation>Format für -o -, z. B. png, mkv</translation>
    </message>
    <message>
        <source>fail if the output exists already</source>
        <translation>abbrechen, wenn die Zieldatei schon existiert</translation>
    </message>
    <message>
        <source>skip results that exist already</source>
        <translation>vorhandene Ergebnisse überspringen</translation>
    </message>
    <message>
        <source>front back left right top bottom iso (default front)</source>
        <translation>front back left right top bottom iso (Vorgabe front)</translation>
    </message>
    <message>
        <source>a camera of the model file</source>
        <translation>eine Kamera der Modelldatei</translation>
    </message>
    <message>
        <source>turn the view to the right</source>
        <translation>Ansicht nach rechts drehen</translation>
    </message>
    <message>
        <source>turn the view upwards</source>
        <translation>Ansicht nach oben drehen</translation>
    </message>
    <message>
        <source>turn the camera clockwise</source>
        <translation>Kamera im Uhrzeigersinn rollen</translation>
    </message>
    <message>
        <source>above 1 = closer</source>
        <translation>über 1 = näher</translation>
    </message>
    <message>
        <source>position of the camera</source>
        <translation>Position der Kamera</translation>
    </message>
    <message>
        <source>point that the camera looks at</source>
        <translation>Punkt, auf den die Kamera blickt</translation>
    </message>
    <message>
        <source>upward direction of the camera</source>
        <translation>Aufwärtsrichtung der Kamera</translation>
    </message>
    <message>
        <source>vertical field of view, 1 to 150</source>
        <translation>vertikaler Bildwinkel, 1 bis 150</translation>
    </message>
    <message>
        <source>parallel projection</source>
        <translation>Parallelprojektion</translation>
    </message>
    <message>
        <source>the view stored in a picture that tov made</source>
        <translation>die Ansicht, die in einem Bild von tov gespeichert ist</translation>
    </message>
    <message>
        <source>upward axis of the model: +X -X +Y -Y +Z -Z auto</source>
        <translation>Aufwärtsachse des Modells: +X -X +Y -Y +Z -Z auto</translation>
    </message>
    <message>
        <source>studio headlight none FILE.hdr (default studio)</source>
        <translation>studio headlight none DATEI.hdr (Vorgabe studio)</translation>
    </message>
    <message>
        <source>surface edges wireframe points (default surface)</source>
        <translation>surface edges wireframe points (Vorgabe surface)</translation>
    </message>
    <message>
        <source>transparent, a colour, or &apos;TOP..BOTTOM&apos; (default: transparent where the format allows)</source>
        <translation>transparent, eine Farbe oder &apos;OBEN..UNTEN&apos; (Vorgabe: transparent, wenn das Format es zulässt)</translation>
    </message>
    <message>
        <source>samples per pixel, 0 to 8 (default 4)</source>
        <translation>Abtastungen pro Pixel, 0 bis 8 (Vorgabe 4)</translation>
    </message>
    <message>
        <source>pixels (default 1920x1080 for pictures, 1280x720 for videos)</source>
        <translation>Pixel (Vorgabe: Bilder 1920x1080, Videos 1280x720)</translation>
    </message>
    <message>
        <source>width in pixels; the height follows from --panel</source>
        <translation>Breite in Pixeln; die Höhe ergibt sich aus --panel</translation>
    </message>
    <message>
        <source>shape of the view with --width or run (1280x720)</source>
        <translation>Seitenverhältnis der Ansicht bei --width oder run (1280x720)</translation>
    </message>
    <message>
        <source>resolution stored in the picture, dots per inch</source>
        <translation>im Bild gespeicherte Auflösung, Punkte pro Zoll</translation>
    </message>
    <message>
        <source>of JPEG and WEBP (default 90)</source>
        <translation>von JPEG und WEBP (Vorgabe 90)</translation>
    </message>
    <message>
        <source>follow a trajectory (csv tum txt json)</source>
        <translation>einer Trajektorie folgen (csv tum txt json)</translation>
    </message>
    <message>
        <source>follow a camera path (json)</source>
        <translation>einem Kamerapfad folgen (json)</translation>
    </message>
    <message>
        <source>length of the video, exactly</source>
        <translation>genaue Länge des Videos</translation>
    </message>
    <message>
        <source>turns of the turntable (default 1)</source>
        <translation>Umdrehungen des Drehtellers (Vorgabe 1)</translation>
    </message>
    <message>
        <source>of the turntable: up x y z or X,Y,Z (default up)</source>
        <translation>des Drehtellers: up x y z oder X,Y,Z (Vorgabe up)</translation>
    </message>
    <message>
        <source>frames per second (default: the setting, 25)</source>
        <translation>Bilder pro Sekunde (Vorgabe: die Einstellung, 25)</translation>
    </message>
    <message>
        <source>kbit/s, 100 to 2000000 (default: 0.1 bit per pixel, at least the setting)</source>
        <translation>kbit/s, 100 bis 2000000 (Vorgabe: 0,1 Bit pro Pixel, mindestens die Einstellung)</translation>
    </message>
    <message>
        <source>one result per model, instead of all models in one scene</source>
        <translation>ein Ergebnis pro Modell statt alle Modelle in einer Szene</translation>
    </message>
    <message>
        <source>a file with the arguments of one result per line; - = standard input</source>
        <translation>eine Datei mit den Argumenten je eines Ergebnisses pro Zeile; - = Standardeingabe</translation>
    </message>
    <message>
        <source>memory limit, e.g. 800M or 2G</source>
        <translation>Speichergrenze, z. B. 800M oder 2G</translation>
    </message>
    <message>
        <source>command text to run; may be repeated</source>
        <translation>auszuführender Befehlstext; mehrfach möglich</translation>
    </message>
    <message>
        <source>test an encoder plug-in and report</source>
        <translation>ein Encoder-Plugin testen</translation>
    </message>
    <message>
        <source>load only modules and plug-ins that are part of the program</source>
        <translation>nur Module und Plugins laden, die zum Programm gehören</translation>
    </message>
    <message>
        <source>treat warnings as errors; stop at the first failure</source>
        <translation>Warnungen als Fehler behandeln; beim ersten Fehler abbrechen</translation>
    </message>
    <message>
        <source>report on standard output, one JSON object per line</source>
        <translation>auf der Standardausgabe berichten, ein JSON-Objekt pro Zeile</translation>
    </message>
    <message>
        <source>print errors only</source>
        <translation>nur Fehler ausgeben</translation>
    </message>
    <message>
        <source>print the full log, including the renderer</source>
        <translation>das vollständige Protokoll mit dem Renderer ausgeben</translation>
    </message>
    <message>
        <source>makes pictures of models</source>
        <translation>erzeugt Bilder von Modellen</translation>
    </message>
    <message>
        <source>makes videos of models</source>
        <translation>erzeugt Videos von Modellen</translation>
    </message>
    <message>
        <source>shows what model files contain</source>
        <translation>zeigt den Inhalt von Modelldateien</translation>
    </message>
    <message>
        <source>file to write; its extension selects the format; - = standard output</source>
        <translation>Zieldatei; die Endung bestimmt das Format; - = Standardausgabe</translation>
    </message>
    <message>
        <source>Motion</source>
        <translation>Bewegung</translation>
    </message>
    <message>
        <source>turn the camera around the model, in N frames (default 5 s)</source>
        <translation>die Kamera um das Modell drehen, in N Bildern (Vorgabe 5 s)</translation>
    </message>
    <message>
        <source>record the view in real time, as many frames as the machine can make</source>
        <translation>die Ansicht in Echtzeit aufnehmen, mit so vielen Bildern, wie der Rechner schafft</translation>
    </message>
    <message>
        <source>play an animation of the model (default: the first), also with --turntable or --path</source>
        <translation>eine Animation des Modells abspielen (Vorgabe: die erste), auch mit --turntable oder --path</translation>
    </message>
    <message>
        <source>moment of the animation (default 0)</source>
        <translation>Zeitpunkt der Animation (Vorgabe 0)</translation>
    </message>
    <message>
        <source>repeat an animation or trajectory for the duration, instead of stretching it</source>
        <translation>Animation oder Trajektorie über die Dauer wiederholen statt dehnen</translation>
    </message>
    <message>
        <source>one position of the trajectory per frame, whatever its times</source>
        <translation>eine Position der Trajektorie pro Bild, unabhängig von ihren Zeiten</translation>
    </message>
    <message>
        <source>start and end a turntable or path slowly</source>
        <translation>Drehung oder Pfad langsam beginnen und beenden</translation>
    </message>
    <message>
        <source>Many machines</source>
        <translation>Viele Rechner</translation>
    </message>
    <message>
        <source>multiply all light, 0 to 1000 (default 1)</source>
        <translation>alles Licht vervielfachen, 0 bis 1000 (Vorgabe 1)</translation>
    </message>
    <message>
        <source>one colour for everything, instead of the materials</source>
        <translation>eine Farbe für alles, statt der Materialien</translation>
    </message>
    <message>
        <source>opacity of a part, 0 to 1; may be repeated</source>
        <translation>Deckkraft eines Teils, 0 bis 1; mehrfach möglich</translation>
    </message>
    <message>
        <source>flat triangles, without smooth normals</source>
        <translation>ebene Dreiecke, ohne geglättete Normalen</translation>
    </message>
    <message>
        <source>draw open edges and edges sharper than 30 degrees</source>
        <translation>offene Kanten und Kanten schärfer als 30 Grad zeichnen</translation>
    </message>
    <message>
        <source>of the picture&apos;s height (default 0.37)</source>
        <translation>der Bildhöhe (Vorgabe 0.37)</translation>
    </message>
    <message>
        <source>of the picture&apos;s height (default 0.14)</source>
        <translation>der Bildhöhe (Vorgabe 0.14)</translation>
    </message>
    <message>
        <source>swing back and forth by that angle instead of turning</source>
        <translation>um diesen Winkel hin- und herschwingen statt zu drehen</translation>
    </message>
    <message>
        <source>record part I of N parts, into the folder OUT.parts</source>
        <translation>Teil I von N Teilen aufnehmen, in den Ordner OUT.parts</translation>
    </message>
    <message>
        <source>record the parts that are missing, then join all N parts</source>
        <translation>fehlende Teile aufnehmen, dann alle N Teile verbinden</translation>
    </message>
    <message>
        <source>do not remove the parts after joining them</source>
        <translation>die Teile nach dem Verbinden nicht löschen</translation>
    </message>
    <message>
        <source>with --parts: only show which parts are done, running and missing</source>
        <translation>mit --parts: nur anzeigen, welche Teile fertig sind, laufen und fehlen</translation>
    </message>
    <message>
        <source>open the files in a window that is open already, if there is one</source>
        <translation>die Dateien in einem schon offenen Fenster öffnen, falls es eines gibt</translation>
    </message>
    <message>
        <source>lists modules, plug-ins, and what cannot be loaded</source>
        <translation>zeigt Module, Plug-ins und was sich nicht laden lässt</translation>
    </message>
    <message>
        <source>also save models, parts, look, view and motion as a scene file</source>
        <translation>Modelle, Teile, Darstellung, Ansicht und Bewegung auch als Szenendatei speichern</translation>
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
        <translation>das Anführungszeichen in Spalte %1 ist nicht geschlossen</translation>
    </message>
    <message>
        <source>&quot;%1&quot; has no name before &quot;=&quot;</source>
        <translation>„%1“ hat keinen Namen vor „=“</translation>
    </message>
    <message>
        <source>NUL character at column %1</source>
        <translation>NUL-Zeichen in Spalte %1</translation>
    </message>
    <message>
        <source>expected a command name, got &quot;%1&quot;</source>
        <translation>Befehlsname erwartet, „%1“ gefunden</translation>
    </message>
    <message>
        <source>&quot;%1&quot; follows a named argument; positional arguments come first</source>
        <translation>„%1“ folgt auf ein benanntes Argument; Argumente ohne Namen stehen zuerst</translation>
    </message>
</context>
<context>
    <name>Commands</name>
    <message>
        <source>Grabs an image of the scene</source>
        <translation>Nimmt ein Bild der Szene auf</translation>
    </message>
    <message>
        <source>Grabs a video of the active view</source>
        <translation>Nimmt ein Video der aktiven Ansicht auf</translation>
    </message>
    <message>
        <source>Sets the video settings</source>
        <translation>Ändert die Videoeinstellungen</translation>
    </message>
    <message>
        <source>Offers picture and video grabbing of the scene</source>
        <translation>Bilder und Videos der Szene aufnehmen</translation>
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
        <translation>Max. Blockgröße (MB)</translation>
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
        <source>The ending selects the format, for instance %1.</source>
        <translation>Die Endung bestimmt das Format, zum Beispiel %1.</translation>
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
        <translation>Bild wird mit %1 dpi aufgenommen</translation>
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
        <translation>Rohvideo wird aufgenommen</translation>
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
        <translation>Größte temporäre Blockdatei beim Kodieren</translation>
    </message>
    <message>
        <source>Frames per second</source>
        <translation>Bilder pro Sekunde</translation>
    </message>
    <message>
        <source>Target bitrate in kbps</source>
        <translation>Ziel-Bitrate in kbit/s</translation>
    </message>
    <message>
        <source>If enabled (1=true, 0=false) memory will be used first to buffer temporary data</source>
        <translation>Wenn eingeschaltet (1=wahr, 0=falsch), werden Daten zuerst im Arbeitsspeicher gepuffert</translation>
    </message>
    <message>
        <source>You can not grab videos with size %1 x %2 because your max. texture size is %3</source>
        <translation>Videos mit %1 x %2 Pixeln sind nicht möglich, weil Texturen höchstens %3 Pixel groß sein können</translation>
    </message>
    <message>
        <source>No encoder for file &apos;%1&apos; found</source>
        <translation>Für die Datei „%1“ gibt es keinen Encoder</translation>
    </message>
    <message>
        <source>Could not create OpenGL context!</source>
        <translation>Der OpenGL-Kontext konnte nicht erstellt werden!</translation>
    </message>
    <message>
        <source>Current OpenGL context is invalid!</source>
        <translation>Der aktuelle OpenGL-Kontext ist ungültig!</translation>
    </message>
    <message>
        <source>Could not determine the maximum texture size</source>
        <translation>Die maximale Texturgröße konnte nicht ermittelt werden</translation>
    </message>
    <message>
        <source>Your OpenGL implementation doesn&apos;t support framebuffer objects</source>
        <translation>Diese OpenGL-Implementierung unterstützt keine Framebuffer-Objekte</translation>
    </message>
    <message>
        <source>Couldn&apos;t bind FBO to OpenGL context</source>
        <translation>Das FBO konnte nicht an den OpenGL-Kontext gebunden werden</translation>
    </message>
    <message>
        <source>Picture couldn&apos;t be grabbed by FBO</source>
        <translation>Das Bild konnte nicht aus dem FBO gelesen werden</translation>
    </message>
    <message>
        <source>Couldn&apos;t write %1 bytes to temporary file</source>
        <translation>%1 Bytes konnten nicht in die temporäre Datei geschrieben werden</translation>
    </message>
    <message>
        <source>There is no thread to record video &apos;%1&apos; with</source>
        <translation>Das Video „%1“ kann nicht aufgenommen werden: kein Thread verfügbar</translation>
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
    <name>VideoExport</name>
    <message>
        <source>no trajectory is open</source>
        <translation>keine Trajektorie geöffnet</translation>
    </message>
    <message>
        <source>MP4, small</source>
        <translation>MP4, klein</translation>
    </message>
    <message>
        <source>MP4, high quality</source>
        <translation>MP4, hohe Qualität</translation>
    </message>
    <message>
        <source>WebM, transparent</source>
        <translation>WebM, transparent</translation>
    </message>
    <message>
        <source>ProRes 4444, transparent</source>
        <translation>ProRes 4444, transparent</translation>
    </message>
    <message>
        <source>Lossless</source>
        <translation>Verlustfrei</translation>
    </message>
    <message>
        <source>GIF</source>
        <translation>GIF</translation>
    </message>
</context>
<context>
    <name>tov::app</name>
    <message>
        <source>%1 (see tov %2 --help)</source>
        <translation>%1 (siehe tov %2 --help)</translation>
    </message>
    <message>
        <source>there is no option %1</source>
        <translation>die Option %1 gibt es nicht</translation>
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
        <translation>%1 hat keinen Wert</translation>
    </message>
    <message>
        <source>opens the window</source>
        <translation>öffnet das Fenster</translation>
    </message>
    <message>
        <source>image needs a model</source>
        <translation>image braucht ein Modell</translation>
    </message>
    <message>
        <source>run needs a script, or -c TEXT</source>
        <translation>run braucht ein Skript oder -c TEXT</translation>
    </message>
    <message>
        <source>%1 cannot be read as a script: %2</source>
        <translation>%1 kann nicht als Skript gelesen werden: %2</translation>
    </message>
    <message>
        <source>it is a folder</source>
        <translation>es ist ein Ordner</translation>
    </message>
    <message>
        <source>there is no command to run</source>
        <translation>es gibt keinen Befehl zum Ausführen</translation>
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
        <source>Problem: %1</source>
        <translation>Problem: %1</translation>
    </message>
    <message>
        <source>no module could be loaded</source>
        <translation>kein Modul konnte geladen werden</translation>
    </message>
    <message>
        <source>%1 takes no file</source>
        <translation>%1 hat keine Datei als Argument</translation>
    </message>
    <message>
        <source>video needs a model</source>
        <translation>video braucht ein Modell</translation>
    </message>
    <message>
        <source>%1 is a folder; name a file</source>
        <translation>%1 ist ein Ordner; eine Datei angeben</translation>
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
        <source>it crashed when it was tried (%1); it is tried again when the file changes</source>
        <translation>ist beim Test abgestürzt (%1); der Test wird wiederholt, sobald sich die Datei ändert</translation>
    </message>
    <message>
        <source>it ended its process when it was tried (status %1); it is tried again when the file changes</source>
        <translation>hat beim Test seinen Prozess beendet (Status %1); der Test wird wiederholt, sobald sich die Datei ändert</translation>
    </message>
    <message>
        <source>%1 was not written: a recording with sync=1 follows a trajectory, and there is none; give --trajectory or --turntable, or sync=0</source>
        <translation>%1 wurde nicht geschrieben: Eine Aufnahme mit sync=1 folgt einer Trajektorie, es gibt aber keine; --trajectory, --turntable oder sync=0 angeben</translation>
    </message>
    <message>
        <source>there is neither a verb nor a file named &quot;%1&quot;</source>
        <translation>es gibt weder ein Verb noch eine Datei namens „%1“</translation>
    </message>
    <message>
        <source>it is larger than 16 MiB</source>
        <translation>es ist größer als 16 MiB</translation>
    </message>
    <message>
        <source>the display is gone (X server); what was written so far is kept</source>
        <translation>die Verbindung zur Anzeige (X-Server) ist abgebrochen; was bisher geschrieben wurde, bleibt erhalten</translation>
    </message>
    <message>
        <source>cannot read &apos;%1&apos;: %2</source>
        <translation>„%1“ kann nicht gelesen werden: %2</translation>
    </message>
    <message>
        <source>it is larger than 64 MiB</source>
        <translation>sie ist größer als 64 MiB</translation>
    </message>
    <message>
        <source>%1, line %2</source>
        <translation>%1, Zeile %2</translation>
    </message>
    <message>
        <source>a quote is not closed</source>
        <translation>ein Anführungszeichen ist nicht geschlossen</translation>
    </message>
    <message>
        <source>&apos;%1&apos; is the output of an earlier line</source>
        <translation>„%1“ ist bereits die Ausgabe einer früheren Zeile</translation>
    </message>
    <message>
        <source>%1 cannot hold %2 x %3 pixels: its limit is %4 each way; use %5 or a smaller size</source>
        <translation>%1 kann keine %2 x %3 Pixel speichern: Die Grenze ist %4 je Richtung; %5 oder eine kleinere Größe verwenden</translation>
    </message>
    <message>
        <source>a picture can be at most %1 pixels wide</source>
        <translation>ein Bild kann höchstens %1 Pixel breit sein</translation>
    </message>
    <message>
        <source>%1 cannot hold %2 x %3 pixels: its limit is 4 GiB; use png or a smaller size</source>
        <translation>%1 kann keine %2 x %3 Pixel speichern: Die Grenze ist 4 GiB; png oder eine kleinere Größe verwenden</translation>
    </message>
    <message>
        <source>a picture of %1 x %2 pixels needs %3 MB of memory and %4 MB are free; make it smaller%5</source>
        <translation>ein Bild mit %1 x %2 Pixeln braucht %3 MB Speicher, frei sind %4 MB; eine kleinere Größe wählen%5</translation>
    </message>
    <message>
        <source> or raise --max-memory</source>
        <translation> oder --max-memory erhöhen</translation>
    </message>
    <message>
        <source>a video of %1 x %2 pixels cannot be drawn here: the limit is %3 each way; use a smaller --size</source>
        <translation>ein Video mit %1 x %2 Pixeln kann hier nicht gezeichnet werden: Die Grenze ist %3 je Richtung; --size verkleinern</translation>
    </message>
    <message>
        <source>%1 x %2 pixels are more than H.264 allows (8192 x 4352); use a smaller --size or a .frames file</source>
        <translation>%1 x %2 Pixel sind mehr, als H.264 erlaubt (8192 x 4352); --size verkleinern oder eine .frames-Datei verwenden</translation>
    </message>
    <message>
        <source>%1 x %2 pixels are more than HEVC allows (8192 x 4352); use a smaller --size or a .frames file</source>
        <translation>%1 x %2 Pixel sind mehr, als HEVC erlaubt (8192 x 4352); --size verkleinern oder eine .frames-Datei verwenden</translation>
    </message>
    <message>
        <source>a gif plays at most 100 frames per second (got --fps %1)</source>
        <translation>ein GIF zeigt höchstens 100 Bilder pro Sekunde (angegeben: --fps %1)</translation>
    </message>
    <message>
        <source>unknown picture format &apos;%1&apos;; known formats: %2</source>
        <translation>unbekanntes Bildformat „%1“; bekannte Formate: %2</translation>
    </message>
    <message>
        <source>&apos;%1&apos; exists already</source>
        <translation>„%1“ existiert bereits</translation>
    </message>
    <message>
        <source>%1 has no transparency; use png, tiff or webp, or a --background colour</source>
        <translation>%1 kennt keine Transparenz; png, tiff oder webp verwenden oder mit --background eine Farbe angeben</translation>
    </message>
    <message>
        <source>there is no memory for a picture of %1 x %2 pixels</source>
        <translation>der Speicher reicht nicht für ein Bild mit %1 x %2 Pixeln</translation>
    </message>
    <message>
        <source>there is no command grabimage; see tov modules</source>
        <translation>der Befehl grabimage fehlt; siehe tov modules</translation>
    </message>
    <message>
        <source>cannot make &apos;%1&apos;: %2</source>
        <translation>„%1“ kann nicht erzeugt werden: %2</translation>
    </message>
    <message>
        <source>%1 exists already</source>
        <translation>%1 existiert bereits</translation>
    </message>
    <message>
        <source>info needs a model</source>
        <translation>info braucht ein Modell</translation>
    </message>
    <message>
        <source>%1 (see %2)</source>
        <translation>%1 (siehe %2)</translation>
    </message>
    <message>
        <source>cannot start &apos;%1&apos;: %2</source>
        <translation>„%1“ kann nicht gestartet werden: %2</translation>
    </message>
    <message>
        <source>no video encoder is loaded; see tov modules</source>
        <translation>kein Video-Encoder geladen; siehe tov modules</translation>
    </message>
    <message>
        <source>Renderer: %1</source>
        <translation>Renderer: %1</translation>
    </message>
    <message>
        <source>none, OpenGL cannot be used</source>
        <translation>keiner, OpenGL ist nicht verfügbar</translation>
    </message>
    <message>
        <source>%1 (%2 s)</source>
        <translation>%1 (%2 s)</translation>
    </message>
    <message>
        <source>parts</source>
        <translation>Teile</translation>
    </message>
    <message>
        <source>triangles</source>
        <translation>Dreiecke</translation>
    </message>
    <message>
        <source>lines</source>
        <translation>Linien</translation>
    </message>
    <message>
        <source>points</source>
        <translation>Punkte</translation>
    </message>
    <message>
        <source>vertices</source>
        <translation>Eckpunkte</translation>
    </message>
    <message>
        <source>size</source>
        <translation>Größe</translation>
    </message>
    <message>
        <source>materials</source>
        <translation>Materialien</translation>
    </message>
    <message>
        <source>textures</source>
        <translation>Texturen</translation>
    </message>
    <message>
        <source>cameras</source>
        <translation>Kameras</translation>
    </message>
    <message>
        <source>animations</source>
        <translation>Animationen</translation>
    </message>
    <message>
        <source>lights</source>
        <translation>Lichter</translation>
    </message>
    <message>
        <source>skins</source>
        <translation>Skins</translation>
    </message>
    <message>
        <source>warning</source>
        <translation>Warnung</translation>
    </message>
    <message>
        <source>the option %1 needs a verb before it</source>
        <translation>vor der Option %1 muss ein Verb stehen</translation>
    </message>
    <message>
        <source>tov VERB --help lists all options of a verb. Exit status: 0 done, 1 failed, 2 wrong usage, 130 interrupted.</source>
        <translation>tov VERB --help zeigt alle Optionen eines Verbs. Status: 0 fertig, 1 fehlgeschlagen, 2 falscher Aufruf, 130 abgebrochen.</translation>
    </message>
    <message>
        <source>two results have the name &apos;%1&apos;; use {name}, {view} or {n} in -o</source>
        <translation>zwei Ergebnisse heißen „%1“; in -o {name}, {view} oder {n} verwenden</translation>
    </message>
    <message>
        <source>--transform needs 16 finite numbers, row by row, in one argument</source>
        <translation>--transform braucht 16 endliche Zahlen, zeilenweise, in einem Argument</translation>
    </message>
    <message>
        <source>--transform maps the scene onto a plane or a point; its determinant must not be 0</source>
        <translation>--transform bildet die Szene auf eine Ebene oder einen Punkt ab; die Determinante darf nicht 0 sein</translation>
    </message>
    <message>
        <source>--background: &quot;%1&quot; is not a colour; use e.g. white, &apos;#204060&apos;, &apos;white..skyblue&apos; or transparent</source>
        <translation>--background: „%1“ ist keine Farbe; möglich sind z. B. white, &apos;#204060&apos;, &apos;white..skyblue&apos; oder transparent</translation>
    </message>
    <message>
        <source>only one of --view, --camera, --like, --position and --transform can be given</source>
        <translation>von --view, --camera, --like, --position und --transform ist nur eines möglich</translation>
    </message>
    <message>
        <source>--free has its own length; leave out --duration</source>
        <translation>--free legt die Länge selbst fest; --duration weglassen</translation>
    </message>
    <message>
        <source>give either the frames of --turntable or --duration</source>
        <translation>entweder die Bilder von --turntable oder --duration angeben</translation>
    </message>
    <message>
        <source>--turns must not be 0</source>
        <translation>--turns darf nicht 0 sein</translation>
    </message>
    <message>
        <source>--axis must not be 0,0,0</source>
        <translation>--axis darf nicht 0,0,0 sein</translation>
    </message>
    <message>
        <source>--%1 belongs to --turntable</source>
        <translation>--%1 gehört zu --turntable</translation>
    </message>
    <message>
        <source>--max-memory must be an amount such as 800M or 2G (got &quot;%1&quot;)</source>
        <translation>--max-memory muss eine Größe wie 800M oder 2G sein (angegeben: „%1“)</translation>
    </message>
    <message>
        <source>-o - needs --format, e.g. --format png</source>
        <translation>-o - braucht --format, z. B. --format png</translation>
    </message>
    <message>
        <source>-o - and --json both need standard output</source>
        <translation>-o - und --json brauchen beide die Standardausgabe</translation>
    </message>
    <message>
        <source>image needs an output: -o OUT</source>
        <translation>image braucht eine Ausgabe: -o ZIEL</translation>
    </message>
    <message>
        <source>give either --size or --width</source>
        <translation>entweder --size oder --width angeben</translation>
    </message>
    <message>
        <source>a picture must have at least 2 x 2 pixels (got %1 x %2)</source>
        <translation>ein Bild muss mindestens 2 x 2 Pixel haben (angegeben: %1 x %2)</translation>
    </message>
    <message>
        <source>video needs an output: -o OUT</source>
        <translation>video braucht eine Ausgabe: -o ZIEL</translation>
    </message>
    <message>
        <source>a video must have at least 16 x 16 pixels (got %1 x %2)</source>
        <translation>ein Video muss mindestens 16 x 16 Pixel haben (angegeben: %1 x %2)</translation>
    </message>
    <message>
        <source>video needs one of --turntable, --trajectory, --animation, --path and --free</source>
        <translation>video braucht --turntable, --trajectory, --animation, --path oder --free</translation>
    </message>
    <message>
        <source>%1 was not written: width and height are pixels, 0 for those of the view (got %2)</source>
        <translation>%1 wurde nicht geschrieben: Breite und Höhe sind Pixel, 0 = wie die Ansicht (angegeben: %2)</translation>
    </message>
    <message>
        <source>%1 (see tov run --help)</source>
        <translation>%1 (siehe tov run --help)</translation>
    </message>
    <message>
        <source>--settings must be a file (&apos;%1&apos; is a folder)</source>
        <translation>--settings muss eine Datei sein („%1“ ist ein Ordner)</translation>
    </message>
    <message>
        <source>no video encoder is loaded, so no video can be written; see tov modules</source>
        <translation>kein Video-Encoder geladen, daher kann kein Video geschrieben werden; siehe tov modules</translation>
    </message>
    <message>
        <source>unknown video format &apos;%1&apos;; known formats: %2</source>
        <translation>unbekanntes Videoformat „%1“; bekannte Formate: %2</translation>
    </message>
    <message>
        <source>%1 frames per second were recorded, so the video plays at %2x real time</source>
        <translation>es wurden %1 Bilder pro Sekunde aufgenommen, daher läuft das Video mit %2-facher Geschwindigkeit</translation>
    </message>
    <message>
        <source>it has %1 frames instead of %2</source>
        <translation>es hat %1 Bilder statt %2</translation>
    </message>
    <message>
        <source>; what was recorded is in &apos;%1&apos;</source>
        <translation>; die bisherige Aufnahme ist in „%1“</translation>
    </message>
    <message>
        <source>--camera: &quot;%1&quot; has no usable position</source>
        <translation>--camera: „%1“ hat keine brauchbare Position</translation>
    </message>
    <message>
        <source>--camera: the model has no cameras</source>
        <translation>--camera: Das Modell hat keine Kameras</translation>
    </message>
    <message>
        <source>--camera: there is no camera &quot;%1&quot;; there are %2</source>
        <translation>--camera: Die Kamera „%1“ gibt es nicht; vorhanden sind %2</translation>
    </message>
    <message>
        <source>the camera must not be at its target</source>
        <translation>die Kamera darf nicht in ihrem Zielpunkt stehen</translation>
    </message>
    <message>
        <source>%1 is not a regular file</source>
        <translation>%1 ist keine gewöhnliche Datei</translation>
    </message>
    <message>
        <source>&apos;%1&apos; does not end in a known picture format; known formats: %2</source>
        <translation>„%1“ hat keine Endung eines Bildformats; bekannte Formate: %2</translation>
    </message>
    <message>
        <source>-o: unknown placeholder {%1}; known: {name}, {view} and {n}</source>
        <translation>-o: unbekannter Platzhalter {%1}; bekannt sind {name}, {view} und {n}</translation>
    </message>
    <message>
        <source>&apos;%1&apos; contains no view; only png and jpg files written by tov image do</source>
        <translation>„%1“ enthält keine Ansicht; nur png- und jpg-Dateien von tov image enthalten eine</translation>
    </message>
    <message>
        <source>--view: unknown view &quot;%1&quot;; known views: %2</source>
        <translation>--view: unbekannte Ansicht „%1“; bekannte Ansichten: %2</translation>
    </message>
    <message>
        <source>--format is only for -o -; for files the ending selects the format</source>
        <translation>--format gilt nur für -o -; bei Dateien bestimmt die Endung das Format</translation>
    </message>
    <message>
        <source>&apos;%1&apos; does not end in a known video format; known formats: %2</source>
        <translation>„%1“ hat keine Endung eines Videoformats; bekannte Formate: %2</translation>
    </message>
    <message>
        <source>only one of --turntable, --trajectory, --path and --free can be given</source>
        <translation>nur eine der Optionen --turntable, --trajectory, --path und --free kann angegeben werden</translation>
    </message>
    <message>
        <source>--animation can be combined with --turntable or --path, not with --trajectory or --free</source>
        <translation>--animation kann mit --turntable oder --path kombiniert werden, nicht mit --trajectory oder --free</translation>
    </message>
    <message>
        <source>--repeat needs --duration, and --animation or --trajectory</source>
        <translation>--repeat braucht --duration und dazu --animation oder --trajectory</translation>
    </message>
    <message>
        <source>--every-position belongs to --trajectory, without --duration</source>
        <translation>--every-position gehört zu --trajectory, ohne --duration</translation>
    </message>
    <message>
        <source>--swing is smooth and has no turns; leave out --turns and --ease</source>
        <translation>--swing verläuft weich und hat keine Umdrehungen; --turns und --ease weglassen</translation>
    </message>
    <message>
        <source>--duration and --ease need a motion; to record without one use --free SECONDS</source>
        <translation>--duration und --ease brauchen eine Bewegung; ohne Bewegung mit --free SEKUNDEN aufnehmen</translation>
    </message>
    <message>
        <source>--ease belongs to --turntable or --path</source>
        <translation>--ease gehört zu --turntable oder --path</translation>
    </message>
    <message>
        <source>--time belongs to --animation</source>
        <translation>--time gehört zu --animation</translation>
    </message>
    <message>
        <source>%1 is a trajectory, not a camera path; use --trajectory</source>
        <translation>%1 ist eine Trajektorie, kein Kamerapfad; --trajectory verwenden</translation>
    </message>
    <message>
        <source>a video has no background of two colours; give --background one colour</source>
        <translation>ein Video hat keinen Hintergrund aus zwei Farben; --background mit einer Farbe angeben</translation>
    </message>
    <message>
        <source>%1 has no transparency; use alpha.webm, alpha.mov or lossless.mkv, or a --background colour</source>
        <translation>%1 hat keine Transparenz; alpha.webm, alpha.mov oder lossless.mkv verwenden oder eine Farbe mit --background angeben</translation>
    </message>
    <message>
        <source>%1 cannot be written: no files can be made in the folder %2</source>
        <translation>%1 kann nicht geschrieben werden: Im Ordner %2 lassen sich keine Dateien anlegen</translation>
    </message>
    <message>
        <source>(unnamed)</source>
        <translation>(ohne Namen)</translation>
    </message>
    <message>
        <source>%1 more</source>
        <translation>%1 weitere</translation>
    </message>
    <message>
        <source>box</source>
        <translation>Quader</translation>
    </message>
    <message>
        <source>%1 to %2</source>
        <translation>%1 bis %2</translation>
    </message>
    <message>
        <source>morph targets</source>
        <translation>Morphziele</translation>
    </message>
    <message>
        <source>memory</source>
        <translation>Speicher</translation>
    </message>
    <message>
        <source>--color: &quot;%1&quot; is not a colour; use e.g. white or &apos;#204060&apos;</source>
        <translation>--color: „%1“ ist keine Farbe; möglich sind z. B. white oder &apos;#204060&apos;</translation>
    </message>
    <message>
        <source>--opacity needs a part and a number from 0 to 1, e.g. glass=0.3 (got &quot;%1&quot;)</source>
        <translation>--opacity braucht einen Teil und eine Zahl von 0 bis 1, z. B. glas=0.3 (nicht „%1“)</translation>
    </message>
    <message>
        <source>--opacity: there is no part &quot;%1&quot;; tov info lists the parts</source>
        <translation>--opacity: Es gibt keinen Teil „%1“; tov info zeigt die Teile</translation>
    </message>
    <message>
        <source>tov shows 3D scenes and makes pictures and videos of them</source>
        <translation>tov zeigt 3D-Szenen und erzeugt Bilder und Videos davon</translation>
    </message>
    <message>
        <source>Joining</source>
        <translation>Verbinden</translation>
    </message>
    <message>
        <source>cannot make &apos;%1&apos;: no loaded plug-in can join such files</source>
        <translation>„%1“ kann nicht erzeugt werden: Kein geladenes Plug-in kann solche Dateien verbinden</translation>
    </message>
    <message>
        <source>it is not a regular file</source>
        <translation>sie ist keine gewöhnliche Datei</translation>
    </message>
    <message>
        <source>--part must be a part and the number of parts, such as 3/8 (got &quot;%1&quot;)</source>
        <translation>--part braucht einen Teil und die Anzahl der Teile, z. B. 3/8 (nicht „%1“)</translation>
    </message>
    <message>
        <source>--part %1: the number of parts must be from 1 to %2</source>
        <translation>--part %1: Die Anzahl der Teile muss zwischen 1 und %2 liegen</translation>
    </message>
    <message>
        <source>--part %1: the part must be from 1 to %2</source>
        <translation>--part %1: Der Teil muss zwischen 1 und %2 liegen</translation>
    </message>
    <message>
        <source>give either --part or --parts</source>
        <translation>entweder --part oder --parts angeben</translation>
    </message>
    <message>
        <source>--status belongs to --parts</source>
        <translation>--status gehört zu --parts</translation>
    </message>
    <message>
        <source>--keep-parts belongs to --part or --parts</source>
        <translation>--keep-parts gehört zu --part oder --parts</translation>
    </message>
    <message>
        <source>a --free recording cannot be made in parts</source>
        <translation>eine Aufnahme mit --free lässt sich nicht in Teilen erzeugen</translation>
    </message>
    <message>
        <source>a recording in parts cannot go to standard output</source>
        <translation>eine Aufnahme in Teilen kann nicht auf die Standardausgabe geschrieben werden</translation>
    </message>
    <message>
        <source>%1 s</source>
        <translation>%1 s</translation>
    </message>
    <message>
        <source>%1 min</source>
        <translation>%1 min</translation>
    </message>
    <message>
        <source>%1 h</source>
        <translation>%1 h</translation>
    </message>
    <message>
        <source>%1: %2 of %3 parts are done, %4 running, %5 missing</source>
        <translation>%1: %2 von %3 Teilen sind fertig, %4 laufen, %5 fehlen</translation>
    </message>
    <message>
        <source>; about %1 left</source>
        <translation>; noch etwa %1</translation>
    </message>
    <message>
        <source>missing</source>
        <translation>fehlt</translation>
    </message>
    <message>
        <source>done     %1 frames in %2 on %3</source>
        <translation>fertig   %1 Bilder in %2 auf %3</translation>
    </message>
    <message>
        <source>running  for %1 on %2, process %3</source>
        <translation>läuft    seit %1 auf %2, Prozess %3</translation>
    </message>
    <message>
        <source>the setting &apos;%1&apos; must be a number from %2 to %3 (got &quot;%4&quot;)</source>
        <translation>die Einstellung „%1“ muss eine Zahl von %2 bis %3 sein (nicht „%4“)</translation>
    </message>
    <message>
        <source>Recording freely; Ctrl-C ends it and keeps what was captured</source>
        <translation>Freie Aufnahme; Strg-C beendet sie und behält, was aufgenommen wurde</translation>
    </message>
    <message>
        <source>Note: the previous start crashed; --safe-mode loads only what is part of the program</source>
        <translation>Hinweis: Der vorige Start ist abgestürzt; --safe-mode lädt nur, was zum Programm gehört</translation>
    </message>
    <message>
        <source>a gif in parts plays at most %1 frames per second (got --fps %2)</source>
        <translation>ein GIF in Teilen spielt höchstens %1 Bilder je Sekunde ab (nicht --fps %2)</translation>
    </message>
    <message>
        <source>Recorded in real time: %1 frames per second.</source>
        <translation>In Echtzeit aufgenommen: %1 Bilder je Sekunde.</translation>
    </message>
    <message>
        <source>%1 frames per second were recorded; the length of the video is unknown</source>
        <translation>%1 Bilder je Sekunde wurden aufgenommen; die Länge des Videos ist unbekannt</translation>
    </message>
    <message>
        <source>Note: a gif plays at most %1 frames per second; frames were left out to keep its speed</source>
        <translation>Hinweis: Ein GIF spielt höchstens %1 Bilder je Sekunde ab; damit die Geschwindigkeit stimmt, wurden Bilder ausgelassen</translation>
    </message>
    <message>
        <source>Interrupted; what was recorded is in &apos;%1&apos;</source>
        <translation>Abgebrochen; was aufgenommen wurde, ist in „%1“</translation>
    </message>
    <message>
        <source>cannot write to the pipe &apos;%1&apos;: no program reads from it</source>
        <translation>in die Pipe „%1“ kann nicht geschrieben werden: Kein Programm liest daraus</translation>
    </message>
    <message>
        <source>cannot write to the pipe &apos;%1&apos;: %2</source>
        <translation>in die Pipe „%1“ kann nicht geschrieben werden: %2</translation>
    </message>
    <message>
        <source>--save-scene is for a single result</source>
        <translation>--save-scene gilt nur für ein einzelnes Ergebnis</translation>
    </message>
    <message>
        <source>%1 stores no resolution; --dpi has no effect</source>
        <translation>%1 speichert keine Auflösung; --dpi hat keine Wirkung</translation>
    </message>
    <message>
        <source>--save-scene: &apos;%1&apos; does not end in .tovscene</source>
        <translation>--save-scene: &apos;%1&apos; endet nicht auf .tovscene</translation>
    </message>
    <message>
        <source>%1 is not a camera path, which is a .json file; for positions use --trajectory</source>
        <translation>%1 ist kein Kamerapfad (eine .json-Datei); für Positionen gibt es --trajectory</translation>
    </message>
    <message>
        <source>%1 is a camera path, not a trajectory; use --path</source>
        <translation>%1 ist ein Kamerapfad, keine Trajektorie; --path verwenden</translation>
    </message>
    <message>
        <source>trajectory %1</source>
        <translation>Trajektorie %1</translation>
    </message>
    <message>
        <source>turntable of %1 positions</source>
        <translation>Drehteller mit %1 Positionen</translation>
    </message>
    <message>
        <source>camera path of %1 views</source>
        <translation>Kamerafahrt durch %1 Ansichten</translation>
    </message>
    <message>
        <source>animation &quot;%1&quot;</source>
        <translation>Animation „%1“</translation>
    </message>
    <message>
        <source>%1: the model %2 is missing; there is no file &apos;%3&apos;</source>
        <translation>%1: das Modell %2 fehlt; es gibt keine Datei &apos;%3&apos;</translation>
    </message>
    <message>
        <source>a scene file is opened alone, not together with other files</source>
        <translation>eine Szenendatei wird allein geöffnet, nicht zusammen mit anderen Dateien</translation>
    </message>
    <message>
        <source>%1 contains no model</source>
        <translation>%1 enthält kein Modell</translation>
    </message>
    <message>
        <source>  model: %1</source>
        <translation>  Modell: %1</translation>
    </message>
    <message>
        <source>  parts: %1 hidden, %2 removed</source>
        <translation>  Teile: %1 ausgeblendet, %2 entfernt</translation>
    </message>
    <message>
        <source>  views: %1, bookmarks: %2</source>
        <translation>  Ansichten: %1, Lesezeichen: %2</translation>
    </message>
    <message>
        <source>  light: %1, show: %2</source>
        <translation>  Licht: %1, Darstellung: %2</translation>
    </message>
    <message>
        <source>  motion: %1</source>
        <translation>  Bewegung: %1</translation>
    </message>
    <message>
        <source>%1 stores a transparent background; --background has no effect</source>
        <translation>%1 speichert einen durchsichtigen Hintergrund; --background hat keine Wirkung</translation>
    </message>
    <message>
        <source>&apos;%1&apos; contains no motion; give one of --turntable, --trajectory, --animation, --path and --free</source>
        <translation>&apos;%1&apos; enthält keine Bewegung; geben Sie --turntable, --trajectory, --animation, --path oder --free an</translation>
    </message>
    <message>
        <source>there is no such file</source>
        <translation>diese Datei gibt es nicht</translation>
    </message>
    <message>
        <source>must be a colour such as &quot;#204060&quot; (got &quot;%1&quot;)</source>
        <translation>muss eine Farbe wie „#204060“ sein (angegeben: „%1“)</translation>
    </message>
    <message>
        <source>must be a rotation, 9 numbers row by row</source>
        <translation>muss eine Drehung sein, 9 Zahlen zeilenweise</translation>
    </message>
    <message>
        <source>must be one of: +X, -X, +Y, -Y, +Z, -Z, auto (got &quot;%1&quot;)</source>
        <translation>muss eines von diesen sein: +X, -X, +Y, -Y, +Z, -Z, auto (angegeben: „%1“)</translation>
    </message>
    <message>
        <source>must be a colour, two colours joined by &quot;..&quot;, or &quot;transparent&quot; (got &quot;%1&quot;)</source>
        <translation>muss eine Farbe, zwei durch „..“ verbundene Farben oder „transparent“ sein (angegeben: „%1“)</translation>
    </message>
    <message>
        <source>must have a length</source>
        <translation>muss eine Länge haben</translation>
    </message>
    <message>
        <source>cannot be used: %1</source>
        <translation>kann nicht verwendet werden: %1</translation>
    </message>
    <message>
        <source>it is not a scene of tov</source>
        <translation>es ist keine Szene von tov</translation>
    </message>
    <message>
        <source>it has version %1, and this tov reads up to version %2; a later tov can open it</source>
        <translation>sie hat Version %1, und dieses tov liest bis Version %2; ein neueres tov kann sie öffnen</translation>
    </message>
    <message>
        <source>it has no valid version</source>
        <translation>sie hat keine gültige Version</translation>
    </message>
</context>
<context>
    <name>tov::app::FileNames</name>
    <message>
        <source>must be the name of a file</source>
        <translation>muss ein Dateiname sein</translation>
    </message>
</context>
<context>
    <name>tov::app::JsonReader</name>
    <message>
        <source>must be an object</source>
        <translation>muss ein Objekt sein</translation>
    </message>
    <message>
        <source>must be a list</source>
        <translation>muss eine Liste sein</translation>
    </message>
    <message>
        <source>must have at most %1 entries (it has %2)</source>
        <translation>darf höchstens %1 Einträge haben (es sind %2)</translation>
    </message>
    <message>
        <source>%1 must be an object</source>
        <translation>%1 muss ein Objekt sein</translation>
    </message>
    <message>
        <source>must be a number</source>
        <translation>muss eine Zahl sein</translation>
    </message>
    <message>
        <source>must be from %1 to %2 (got %3)</source>
        <translation>muss zwischen %1 und %2 liegen (angegeben: %3)</translation>
    </message>
    <message>
        <source>must be true or false</source>
        <translation>muss true oder false sein</translation>
    </message>
    <message>
        <source>must be a text</source>
        <translation>muss ein Text sein</translation>
    </message>
    <message>
        <source>must not contain control characters</source>
        <translation>darf keine Steuerzeichen enthalten</translation>
    </message>
    <message>
        <source>must be one of: %1 (got &quot;%2&quot;)</source>
        <translation>muss eines von diesen sein: %1 (angegeben: „%2“)</translation>
    </message>
    <message>
        <source>must be a list of %1 numbers</source>
        <translation>muss eine Liste von %1 Zahlen sein</translation>
    </message>
</context>
<context>
    <name>tov::app::LibraryProbe</name>
    <message>
        <source>left out by --safe-mode</source>
        <translation>wegen --safe-mode nicht geladen</translation>
    </message>
</context>
<context>
    <name>tov::app::LibraryProbe::Trials</name>
    <message>
        <source>there was no time left to try it; it is tried at the next start</source>
        <translation>die Zeit für den Test reichte nicht; er wird beim nächsten Start nachgeholt</translation>
    </message>
    <message>
        <source>it did not return when it was tried</source>
        <translation>antwortet beim Test nicht</translation>
    </message>
    <message>
        <source>it cannot be tried because the machine is short of processes or memory; it is tried at the next start</source>
        <translation>sie kann nicht geprüft werden, weil dem Rechner Prozesse oder Speicher fehlen; sie wird beim nächsten Start geprüft</translation>
    </message>
</context>
<context>
    <name>tov::app::OptionReader</name>
    <message>
        <source>--%1 must be a whole number from %2 to %3 (got &quot;%4&quot;)</source>
        <translation>--%1 muss eine ganze Zahl von %2 bis %3 sein (angegeben: „%4“)</translation>
    </message>
    <message>
        <source>--%1 must be a number from %2 to %3 (got &quot;%4&quot;)</source>
        <translation>--%1 muss eine Zahl von %2 bis %3 sein (angegeben: „%4“)</translation>
    </message>
    <message>
        <source>--%1 must be a time above 0, e.g. 5s (got &quot;%2&quot;)</source>
        <translation>--%1 muss eine Zeit über 0 sein, z. B. 5s (angegeben: „%2“)</translation>
    </message>
    <message>
        <source>--%1 must be three numbers, e.g. 1,0,-2.5 (got &quot;%2&quot;)</source>
        <translation>--%1 muss aus drei Zahlen bestehen, z. B. 1,0,-2.5 (angegeben: „%2“)</translation>
    </message>
    <message>
        <source>--%1 must be a size such as 1280x720, at most 65535x65535 (got &quot;%2&quot;)</source>
        <translation>--%1 muss eine Größe wie 1280x720 sein, höchstens 65535x65535 (angegeben: „%2“)</translation>
    </message>
    <message>
        <source>--%1: unknown value &quot;%2&quot;; known values: %3</source>
        <translation>--%1: unbekannter Wert „%2“; bekannte Werte: %3</translation>
    </message>
    <message>
        <source>--%1 must be a time, e.g. 0.5s (got &quot;%2&quot;)</source>
        <translation>--%1 muss eine Zeit sein, z. B. 0.5s (angegeben: „%2“)</translation>
    </message>
</context>
<context>
    <name>tov::app::PartFolder</name>
    <message>
        <source>cannot create the folder &apos;%1&apos;: %2</source>
        <translation>der Ordner „%1“ kann nicht angelegt werden: %2</translation>
    </message>
    <message>
        <source>cannot write &apos;%1&apos;: %2</source>
        <translation>„%1“ kann nicht geschrieben werden: %2</translation>
    </message>
</context>
<context>
    <name>tov::app::PartLock</name>
    <message>
        <source>cannot write &apos;%1&apos;: %2</source>
        <translation>„%1“ kann nicht geschrieben werden: %2</translation>
    </message>
    <message>
        <source>process %1 on %2 is recording it</source>
        <translation>Prozess %1 auf %2 arbeitet daran</translation>
    </message>
    <message>
        <source>&apos;%1&apos; cannot be locked: %2; the file system must support locks</source>
        <translation>„%1“ lässt sich nicht sperren: %2; das Dateisystem muss Sperren unterstützen</translation>
    </message>
</context>
<context>
    <name>tov::app::PartRun</name>
    <message>
        <source>part %1 of %2 of &apos;%3&apos;</source>
        <translation>Teil %1 von %2 von „%3“</translation>
    </message>
    <message>
        <source>&apos;%1&apos; has %2 frames, so it cannot be made in %3 parts</source>
        <translation>„%1“ hat %2 Bilder und lässt sich deshalb nicht in %3 Teilen erzeugen</translation>
    </message>
    <message>
        <source>parts of %1 s are short: below %2 s per part, %3 videos exceed the bit rate</source>
        <translation>Teile von %1 s sind kurz: Unter %2 s je Teil überschreiten %3-Videos die Bitrate</translation>
    </message>
    <message>
        <source>%1: %2 frames</source>
        <translation>%1: %2 Bilder</translation>
    </message>
    <message>
        <source>%1 is already done</source>
        <translation>%1 ist schon fertig</translation>
    </message>
    <message>
        <source>cannot make %1: a file that it uses was changed during the recording</source>
        <translation>%1 kann nicht erzeugt werden: Eine dazu benutzte Datei wurde während der Aufnahme geändert</translation>
    </message>
    <message>
        <source>cannot make %1: %2</source>
        <translation>%1 kann nicht erzeugt werden: %2</translation>
    </message>
    <message>
        <source>Note: %1 is incomplete or was changed, so it is recorded again</source>
        <translation>Hinweis: %1 ist unvollständig oder wurde geändert und wird deshalb noch einmal aufgenommen</translation>
    </message>
    <message>
        <source>Interrupted; %1 of %2 parts are done. Run the same command again to continue.</source>
        <translation>Abgebrochen; %1 von %2 Teilen sind fertig. Derselbe Befehl setzt fort.</translation>
    </message>
    <message>
        <source>another process is still at work on %1; run the same command again later</source>
        <translation>ein anderer Prozess arbeitet noch an %1; denselben Befehl später noch einmal ausführen</translation>
    </message>
    <message>
        <source>%1: parts %2</source>
        <translation>%1: Teile %2</translation>
    </message>
    <message>
        <source>the parts of &apos;%1&apos; were drawn by different renderers, so that seams may be visible (%2)</source>
        <translation>die Teile von „%1“ wurden von verschiedenen Grafiktreibern gezeichnet, daher können Nähte sichtbar sein (%2)</translation>
    </message>
    <message>
        <source>cannot make &apos;%1&apos;: %2</source>
        <translation>„%1“ kann nicht erzeugt werden: %2</translation>
    </message>
    <message>
        <source>Note: &apos;%1&apos; still holds parts of another recording; its model or settings differ</source>
        <translation>Hinweis: „%1“ enthält noch Teile einer anderen Aufnahme; deren Modell oder Einstellungen sind andere</translation>
    </message>
</context>
<context>
    <name>tov::app::PictureFile</name>
    <message>
        <source>it cannot be read back</source>
        <translation>sie lässt sich nicht wieder lesen</translation>
    </message>
    <message>
        <source>cannot write &apos;%1&apos;: %2</source>
        <translation>„%1“ kann nicht geschrieben werden: %2</translation>
    </message>
</context>
<context>
    <name>tov::app::PictureOutput</name>
    <message>
        <source>cannot write &apos;%1&apos;: %2</source>
        <translation>„%1“ kann nicht geschrieben werden: %2</translation>
    </message>
</context>
<context>
    <name>tov::app::PrivatePipe</name>
    <message>
        <source>cannot make a pipe in the folder &apos;%1&apos;: %2</source>
        <translation>im Ordner „%1“ lässt sich keine Pipe anlegen: %2</translation>
    </message>
</context>
<context>
    <name>tov::app::ProgressLine</name>
    <message>
        <source>  %1 s</source>
        <translation>  %1 s</translation>
    </message>
    <message>
        <source>  %1 frames/s</source>
        <translation>  %1 Bilder/s</translation>
    </message>
    <message>
        <source>  %1 s left</source>
        <translation>  noch %1 s</translation>
    </message>
</context>
<context>
    <name>tov::app::Reporter</name>
    <message>
        <source>Warning: %1</source>
        <translation>Warnung: %1</translation>
    </message>
    <message>
        <source>%1 x %2 pixels</source>
        <translation>%1 x %2 Pixel</translation>
    </message>
    <message>
        <source>%1 kB</source>
        <translation>%1 kB</translation>
    </message>
    <message>
        <source>%1 frames</source>
        <translation>%1 Bilder</translation>
    </message>
</context>
<context>
    <name>tov::app::RunWatcher</name>
    <message>
        <source>%1 was not written</source>
        <translation>%1 wurde nicht geschrieben</translation>
    </message>
    <message>
        <source>%1 is incomplete; is the disk full?</source>
        <translation>%1 ist unvollständig; ist der Datenträger voll?</translation>
    </message>
    <message>
        <source>%1 cannot be read back</source>
        <translation>%1 kann nicht geprüft werden</translation>
    </message>
    <message>
        <source>%1 failed</source>
        <translation>%1 ist fehlgeschlagen</translation>
    </message>
</context>
<context>
    <name>tov::app::SafeOutput</name>
    <message>
        <source>cannot write &apos;%1&apos;: %2; the result is in &apos;%3&apos;</source>
        <translation>„%1“ kann nicht geschrieben werden: %2; das Ergebnis ist in „%3“</translation>
    </message>
    <message>
        <source>cannot write &apos;%1&apos;: &apos;%2&apos;: %3</source>
        <translation>„%1“ kann nicht geschrieben werden: „%2“: %3</translation>
    </message>
    <message>
        <source>cannot write &apos;%1&apos;: another process is writing it</source>
        <translation>„%1“ kann nicht geschrieben werden: Ein anderer Prozess schreibt die Datei gerade</translation>
    </message>
</context>
<context>
    <name>tov::app::SceneFile</name>
    <message>
        <source>%1 cannot be opened as a scene: %2</source>
        <translation>%1 kann nicht als Szene geöffnet werden: %2</translation>
    </message>
    <message>
        <source>cannot write &apos;%1&apos;: %2</source>
        <translation>„%1“ kann nicht geschrieben werden: %2</translation>
    </message>
    <message>
        <source>line %1: %2</source>
        <translation>Zeile %1: %2</translation>
    </message>
    <message>
        <source>it is not a scene of tov</source>
        <translation>es ist keine Szene von tov</translation>
    </message>
</context>
<context>
    <name>tov::app::Session</name>
    <message>
        <source>Reading</source>
        <translation>Lesen</translation>
    </message>
    <message>
        <source>the trajectory moves nothing: the scene has no element named &quot;carrier&quot;</source>
        <translation>die Trajektorie bewegt nichts: Die Szene hat kein Element namens „carrier“</translation>
    </message>
    <message>
        <source>the trajectory moves nothing: it neither names an element of the scene nor the camera</source>
        <translation>die Trajektorie bewegt nichts: Sie nennt weder ein Element der Szene noch die Kamera</translation>
    </message>
    <message>
        <source>%1 is not a settings file and is not changed; settings are valid for this call only</source>
        <translation>%1 ist keine Einstellungsdatei und bleibt unverändert; Einstellungen gelten nur für diesen Aufruf</translation>
    </message>
    <message>
        <source>Stopping; press Ctrl-C again to leave at once</source>
        <translation>Wird beendet; noch einmal Strg-C beendet sofort</translation>
    </message>
    <message>
        <source>the encoder is too slow: %1 of frames are pending, and there is room for %2 more; then the recording ends</source>
        <translation>der Encoder ist zu langsam: %1 an Bildern warten, Platz ist für weitere %2; dann endet die Aufnahme</translation>
    </message>
</context>
<context>
    <name>tov::app::SpaceWatch</name>
    <message>
        <source>nothing was recorded: %1 has only %2 left, recordings stop below %3</source>
        <translation>nichts aufgenommen: Auf %1 sind nur noch %2 frei, Aufnahmen stoppen unter %3</translation>
    </message>
    <message>
        <source>%1 free</source>
        <translation>%1 frei</translation>
    </message>
    <message>
        <source>%1, %2 waiting</source>
        <translation>%1, %2 ausstehend</translation>
    </message>
    <message>
        <source>%1 has only %2 left: the recording was stopped, what was captured is kept</source>
        <translation>auf %1 sind nur noch %2 frei: Die Aufnahme wurde beendet, das Aufgenommene bleibt erhalten</translation>
    </message>
</context>
<context>
    <name>tov::app::VideoOutput</name>
    <message>
        <source>frames are many files, which cannot be written to one stream; use another format</source>
        <translation>„frames“ sind viele Dateien, die nicht in einen Datenstrom passen; ein anderes Format wählen</translation>
    </message>
    <message>
        <source>cannot write &apos;%1&apos;: %2</source>
        <translation>„%1“ kann nicht geschrieben werden: %2</translation>
    </message>
    <message>
        <source>cannot write to standard output: %1</source>
        <translation>auf die Standardausgabe kann nicht geschrieben werden: %1</translation>
    </message>
</context>
<context>
    <name>tov::main::CommandProcessor</name>
    <message>
        <source>There is no command &quot;%1&quot;: no module is loaded</source>
        <translation>Den Befehl „%1“ gibt es nicht: Es ist kein Modul geladen</translation>
    </message>
    <message>
        <source>There is no command &quot;%1&quot;; there are: %2</source>
        <translation>Den Befehl „%1“ gibt es nicht; es gibt: %2</translation>
    </message>
    <message>
        <source>%1 cannot run now: it is disabled</source>
        <translation>%1 ist zurzeit deaktiviert</translation>
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
        <translation>Der Text enthält mehr als einen Befehl</translation>
    </message>
    <message>
        <source>%1 is not registered</source>
        <translation>%1 ist nicht registriert</translation>
    </message>
</context>
<context>
    <name>tov::scene</name>
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
        <source>the part of the program that reads such files is missing (%1)</source>
        <translation>der Programmteil für solche Dateien fehlt (%1)</translation>
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
        <translation>das Lesen hat mehr als %1 s Rechenzeit gebraucht; vielleicht ist sie beschädigt (TOV_IMPORT_SECONDS erlaubt mehr)</translation>
    </message>
    <message>
        <source>it is damaged: the importer process crashed</source>
        <translation>sie ist beschädigt: Der Importprozess ist abgestürzt</translation>
    </message>
    <message>
        <source>line %1: &quot;%2&quot; is not a number</source>
        <translation>Zeile %1: „%2“ ist keine Zahl</translation>
    </message>
    <message>
        <source>a coordinate is not a finite number</source>
        <translation>eine Koordinate ist keine endliche Zahl</translation>
    </message>
    <message>
        <source>the importer&apos;s output is incomplete</source>
        <translation>die Ausgabe des Importprozesses ist unvollständig</translation>
    </message>
    <message>
        <source>it is empty</source>
        <translation>sie ist leer</translation>
    </message>
    <message>
        <source>the header declares %1 triangles, but the file is too short for them</source>
        <translation>laut Kopf gibt es %1 Dreiecke, dafür ist die Datei aber zu kurz</translation>
    </message>
    <message>
        <source>there is no such file</source>
        <translation>diese Datei gibt es nicht</translation>
    </message>
    <message>
        <source>it is not a regular file</source>
        <translation>sie ist keine gewöhnliche Datei</translation>
    </message>
    <message>
        <source>not enough memory</source>
        <translation>nicht genug Speicher</translation>
    </message>
    <message>
        <source>cannot read &apos;%1&apos;: %2</source>
        <translation>„%1“ kann nicht gelesen werden: %2</translation>
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
        <source>line %1: &quot;%2&quot; is not a number</source>
        <translation>Zeile %1: „%2“ ist keine Zahl</translation>
    </message>
</context>
<context>
    <name>tov::scene::ObjReader</name>
    <message>
        <source>line %1: %2</source>
        <translation>Zeile %1: %2</translation>
    </message>
    <message>
        <source>a number is missing</source>
        <translation>eine Zahl fehlt</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is not a number</source>
        <translation>„%1“ ist keine Zahl</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is not an index</source>
        <translation>„%1“ ist kein Index</translation>
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
        <source>the material library &apos;%1&apos; (line %2) is missing</source>
        <translation>die Materialbibliothek „%1“ (Zeile %2) fehlt</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is not a statement of a Wavefront OBJ file</source>
        <translation>„%1“ ist keine Anweisung einer Wavefront-OBJ-Datei</translation>
    </message>
    <message>
        <source>the index %1 is out of range; there are %2</source>
        <translation>der Index %1 liegt außerhalb des Bereichs; es gibt %2</translation>
    </message>
</context>
<context>
    <name>tov::scene::Panorama</name>
    <message>
        <source>it is damaged</source>
        <translation>sie ist beschädigt</translation>
    </message>
</context>
<context>
    <name>tov::scene::PlyReader</name>
    <message>
        <source>line %1: %2</source>
        <translation>Zeile %1: %2</translation>
    </message>
    <message>
        <source>the file ends inside its header</source>
        <translation>die Datei endet in ihrem Kopf</translation>
    </message>
    <message>
        <source>the format &quot;%1&quot; is unknown</source>
        <translation>das Format „%1“ ist unbekannt</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is not a count</source>
        <translation>„%1“ ist keine Anzahl</translation>
    </message>
    <message>
        <source>this property cannot be read</source>
        <translation>diese Eigenschaft kann nicht gelesen werden</translation>
    </message>
    <message>
        <source>the file does not begin with &quot;ply&quot;</source>
        <translation>die Datei beginnt nicht mit „ply“</translation>
    </message>
    <message>
        <source>there are more vertices than can be shown</source>
        <translation>es gibt mehr Eckpunkte, als dargestellt werden können</translation>
    </message>
    <message>
        <source>the vertices have no x, y and z</source>
        <translation>die Eckpunkte haben kein x, y und z</translation>
    </message>
    <message>
        <source>line %1: not a valid PLY header line</source>
        <translation>Zeile %1: ungültige Zeile im PLY-Kopf</translation>
    </message>
    <message>
        <source>the header has no format line</source>
        <translation>im Kopf fehlt die Zeile mit dem Format</translation>
    </message>
    <message>
        <source>the header declares %1 of &quot;%2&quot;, but the file is too short for them</source>
        <translation>laut Kopf gibt es %1 „%2“, dafür ist die Datei aber zu kurz</translation>
    </message>
    <message>
        <source>a list declares more entries than the file contains</source>
        <translation>eine Liste soll mehr Einträge haben, als die Datei enthält</translation>
    </message>
    <message>
        <source>a face refers to vertex %1, but there are only %2</source>
        <translation>eine Fläche verweist auf den Eckpunkt %1, es gibt aber nur %2</translation>
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
        <source>files of the type &quot;%1&quot; cannot be read; known are %2</source>
        <translation>Dateien vom Typ „%1“ können nicht gelesen werden; bekannt sind %2</translation>
    </message>
    <message>
        <source>it is empty</source>
        <translation>sie ist leer</translation>
    </message>
    <message>
        <source>stopped</source>
        <translation>abgebrochen</translation>
    </message>
    <message>
        <source>there is not enough memory for it</source>
        <translation>der Speicher reicht dafür nicht</translation>
    </message>
    <message>
        <source>it is not a regular file</source>
        <translation>sie ist keine gewöhnliche Datei</translation>
    </message>
    <message>
        <source>it contains nothing to show</source>
        <translation>sie enthält nichts Darstellbares</translation>
    </message>
</context>
<context>
    <name>tov::scene::StreamReader</name>
    <message>
        <source>it has more vertices than can be shown</source>
        <translation>sie hat mehr Eckpunkte, als dargestellt werden können</translation>
    </message>
    <message>
        <source>a coordinate is not a finite number</source>
        <translation>eine Koordinate ist keine endliche Zahl</translation>
    </message>
    <message>
        <source>the camera &apos;%1&apos; has no usable field of view</source>
        <translation>die Kamera „%1“ hat keinen brauchbaren Bildwinkel</translation>
    </message>
    <message>
        <source>a face refers to a missing vertex</source>
        <translation>eine Fläche verweist auf einen fehlenden Eckpunkt</translation>
    </message>
    <message>
        <source>a vertex refers to a missing joint</source>
        <translation>ein Eckpunkt verweist auf ein fehlendes Gelenk</translation>
    </message>
    <message>
        <source>a vertex has too many joints</source>
        <translation>ein Eckpunkt hat zu viele Gelenke</translation>
    </message>
</context>
<context>
    <name>tov::trajectory</name>
    <message>
        <source>line %1: %2</source>
        <translation>Zeile %1: %2</translation>
    </message>
    <message>
        <source>a channel has no keys</source>
        <translation>ein Kanal hat keine Keyframes</translation>
    </message>
    <message>
        <source>the key times do not ascend</source>
        <translation>die Zeiten der Keyframes steigen nicht an</translation>
    </message>
    <message>
        <source>the number of values does not fit the number of keys</source>
        <translation>die Anzahl der Werte passt nicht zur Anzahl der Keyframes</translation>
    </message>
    <message>
        <source>a value is not a number</source>
        <translation>ein Wert ist keine Zahl</translation>
    </message>
    <message>
        <source>&quot;time&quot; must be a number</source>
        <translation>„time“ muss eine Zahl sein</translation>
    </message>
    <message>
        <source>&quot;distance&quot; must be above 0, &quot;fieldOfView&quot; from 1 to 150</source>
        <translation>„distance“ muss über 0 liegen, „fieldOfView“ zwischen 1 und 150</translation>
    </message>
    <message>
        <source>&quot;matrix&quot; must be 16 numbers</source>
        <translation>„matrix“ muss aus 16 Zahlen bestehen</translation>
    </message>
    <message>
        <source>&quot;position&quot;, &quot;target&quot; and &quot;up&quot; must be 3 numbers each</source>
        <translation>„position“, „target“ und „up“ müssen aus je 3 Zahlen bestehen</translation>
    </message>
    <message>
        <source>the camera is not a valid view</source>
        <translation>die Kamera ergibt keine gültige Ansicht</translation>
    </message>
    <message>
        <source>there is no such file</source>
        <translation>diese Datei gibt es nicht</translation>
    </message>
    <message>
        <source>it is not a regular file</source>
        <translation>sie ist keine gewöhnliche Datei</translation>
    </message>
    <message>
        <source>it is larger than 256 MiB</source>
        <translation>sie ist größer als 256 MiB</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is not a number</source>
        <translation>„%1“ ist keine Zahl</translation>
    </message>
</context>
<context>
    <name>tov::trajectory::AnimationMotion</name>
    <message>
        <source>the animation &quot;%1&quot; cannot be played: %2</source>
        <translation>die Animation „%1“ kann nicht abgespielt werden: %2</translation>
    </message>
    <message>
        <source>its duration is not a number</source>
        <translation>ihre Dauer ist keine Zahl</translation>
    </message>
    <message>
        <source>%1 s at %2 frames per second are more than 1000000 frames</source>
        <translation>%1 s mit %2 Bildern pro Sekunde ergeben mehr als 1000000 Bilder</translation>
    </message>
    <message>
        <source>it moves nothing</source>
        <translation>sie bewegt nichts</translation>
    </message>
    <message>
        <source>it lasts %1 s, so it has no position at %2 s</source>
        <translation>sie dauert %1 s und hat daher bei %2 s keine Position</translation>
    </message>
</context>
<context>
    <name>tov::trajectory::CameraPath</name>
    <message>
        <source>a camera path needs 1 to 100000 views</source>
        <translation>ein Kamerapfad braucht 1 bis 100000 Ansichten</translation>
    </message>
    <message>
        <source>view %1: the times must ascend</source>
        <translation>Ansicht %1: Die Zeiten müssen ansteigen</translation>
    </message>
    <message>
        <source>view %1: the camera is not a valid view</source>
        <translation>Ansicht %1: Die Kamera ergibt keine gültige Ansicht</translation>
    </message>
    <message>
        <source>the times are too far apart</source>
        <translation>die Zeiten liegen zu weit auseinander</translation>
    </message>
    <message>
        <source>the duration of a loop must be more than the time of its last view</source>
        <translation>die Dauer einer Schleife muss größer sein als die Zeit ihrer letzten Ansicht</translation>
    </message>
    <message>
        <source>line %1: %2</source>
        <translation>Zeile %1: %2</translation>
    </message>
    <message>
        <source>the file was written by a newer version</source>
        <translation>die Datei stammt von einer neueren Version</translation>
    </message>
    <message>
        <source>&quot;version&quot; must be 1, the file is not a camera path</source>
        <translation>„version“ muss 1 sein, die Datei ist kein Kamerapfad</translation>
    </message>
    <message>
        <source>&quot;ease&quot; must be none, in, out or in-out</source>
        <translation>„ease“ muss none, in, out oder in-out sein</translation>
    </message>
    <message>
        <source>view %1: %2</source>
        <translation>Ansicht %1: %2</translation>
    </message>
</context>
<context>
    <name>tov::trajectory::PathMotion</name>
    <message>
        <source>the camera path has more than 1000000 frames</source>
        <translation>der Kamerapfad hat mehr als 1000000 Bilder</translation>
    </message>
</context>
<context>
    <name>tov::trajectory::TrajectoryHandler</name>
    <message>
        <source>%1 cannot be opened as a trajectory: %2</source>
        <translation>%1 kann nicht als Trajektorie geöffnet werden: %2</translation>
    </message>
    <message>
        <source>A turntable starts from a view: open a panel first</source>
        <translation>Ein Drehteller geht von einer Ansicht aus: Öffnen Sie zuerst eine</translation>
    </message>
    <message>
        <source>unknown type &quot;%1&quot;; known types: csv, tum, txt, json</source>
        <translation>unbekannter Typ „%1“; bekannte Typen: csv, tum, txt, json</translation>
    </message>
    <message>
        <source>the scene has no animations</source>
        <translation>die Szene hat keine Animationen</translation>
    </message>
    <message>
        <source>no animation &quot;%1&quot;; known: %2</source>
        <translation>keine Animation „%1“; vorhanden: %2</translation>
    </message>
    <message>
        <source>a turntable starts from a view: open one first</source>
        <translation>ein Drehteller geht von einer Ansicht aus: zuerst eine öffnen</translation>
    </message>
    <message>
        <source>this motion cannot be selected again</source>
        <translation>diese Bewegung kann nicht erneut gewählt werden</translation>
    </message>
</context>
<context>
    <name>tov::trajectory::TrajectoryReader</name>
    <message>
        <source>there are %1 numbers instead of 3 (x,y,z)</source>
        <translation>es sind %1 Zahlen statt 3 (x,y,z)</translation>
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
        <source>position %1: an object is expected</source>
        <translation>Position %1: Objekt erwartet</translation>
    </message>
    <message>
        <source>position %1: &quot;%2&quot; has %3 numbers instead of 16</source>
        <translation>Position %1: „%2“ hat %3 Zahlen statt 16</translation>
    </message>
    <message>
        <source>position %1: the times do not ascend</source>
        <translation>Position %1: Die Zeiten steigen nicht an</translation>
    </message>
    <message>
        <source>%1 s at %2 frames per second are more than 1000000 frames</source>
        <translation>%1 s mit %2 Bildern pro Sekunde ergeben mehr als 1000000 Bilder</translation>
    </message>
    <message>
        <source>there are %1 numbers instead of 4 (t,x,y,z)</source>
        <translation>%1 Zahlen statt 4 (t,x,y,z)</translation>
    </message>
    <message>
        <source>the file has no points</source>
        <translation>die Datei enthält keine Punkte</translation>
    </message>
    <message>
        <source>the file has no poses</source>
        <translation>die Datei enthält keine Posen</translation>
    </message>
    <message>
        <source>the file is not a list of positions</source>
        <translation>die Datei ist keine Liste von Positionen</translation>
    </message>
    <message>
        <source>position %1: &quot;%2&quot; holds something that is not a number</source>
        <translation>Position %1: „%2“ enthält etwas, das keine Zahl ist</translation>
    </message>
    <message>
        <source>position %1: either all positions have a &quot;time&quot;, or none</source>
        <translation>Position %1: Entweder haben alle Positionen „time“ oder keine</translation>
    </message>
</context>
<context>
    <name>tov::trajectory::Turntable</name>
    <message>
        <source>A turntable needs 1 to 1000000 positions</source>
        <translation>Ein Drehteller braucht 1 bis 1000000 Positionen</translation>
    </message>
    <message>
        <source>The axis of a turntable must have a length</source>
        <translation>Die Achse eines Drehtellers muss eine Länge haben</translation>
    </message>
    <message>
        <source>The turns and swing of a turntable must be numbers, and its elevation must be from -90 to 90</source>
        <translation>Umdrehungen und Ausschlag eines Drehtellers müssen Zahlen sein, die Höhe eine von -90 bis 90</translation>
    </message>
</context>
<context>
    <name>tov::viewer</name>
    <message>
        <source>tov crashed</source>
        <translation>tov ist abgestürzt</translation>
    </message>
    <message>
        <source>Start in safe mode</source>
        <translation>Im abgesicherten Modus starten</translation>
    </message>
    <message>
        <source>Start as usual</source>
        <translation>Normal starten</translation>
    </message>
    <message>
        <source>tov crashed at its last start. Start now without modules and plug-ins that are not part of it?</source>
        <translation>Beim letzten Start ist tov abgestürzt. Jetzt ohne zusätzliche Module und Plugins starten?</translation>
    </message>
    <message>
        <source>, about %1</source>
        <translation>, etwa %1</translation>
    </message>
    <message>
        <source>, takes about %1</source>
        <translation>, dauert etwa %1</translation>
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
        <translation>&lt;p&gt;Renderer: %1&lt;br&gt;Qt %2, erstellt mit %3&lt;/p&gt;</translation>
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
        <translation>Autor</translation>
    </message>
    <message>
        <source>Cannot be loaded</source>
        <translation>Lässt sich nicht laden</translation>
    </message>
</context>
<context>
    <name>tov::viewer::Autosave</name>
    <message>
        <source>tov ended unexpectedly on %1. The scene of that session can be restored.</source>
        <translation>tov wurde am %1 unerwartet beendet. Die Szene dieser Sitzung kann wiederhergestellt werden.</translation>
    </message>
    <message>
        <source>Restore</source>
        <translation>Wiederherstellen</translation>
    </message>
</context>
<context>
    <name>tov::viewer::CapturePreferences</name>
    <message>
        <source>Snapshots and recordings</source>
        <translation>Schnappschüsse und Aufnahmen</translation>
    </message>
    <message>
        <source>{model} is the name of the model, {n} a number</source>
        <translation>{model} ist der Name des Modells, {n} eine Zahl</translation>
    </message>
    <message>
        <source> frames per second</source>
        <translation> Bilder pro Sekunde</translation>
    </message>
    <message>
        <source>Folder:</source>
        <translation>Ordner:</translation>
    </message>
    <message>
        <source>File names:</source>
        <translation>Dateinamen:</translation>
    </message>
    <message>
        <source>Snapshots:</source>
        <translation>Schnappschüsse:</translation>
    </message>
    <message>
        <source>Recordings:</source>
        <translation>Aufnahmen:</translation>
    </message>
    <message>
        <source>Frame rate:</source>
        <translation>Bildrate:</translation>
    </message>
    <message>
        <source>Choose a folder</source>
        <translation>Ordner wählen</translation>
    </message>
    <message>
        <source>Folder for snapshots and recordings</source>
        <translation>Ordner für Schnappschüsse und Aufnahmen</translation>
    </message>
</context>
<context>
    <name>tov::viewer::ClipControls</name>
    <message>
        <source>Axis:</source>
        <translation>Achse:</translation>
    </message>
    <message>
        <source>Position:</source>
        <translation>Position:</translation>
    </message>
    <message>
        <source>Off</source>
        <translation>Aus</translation>
    </message>
    <message>
        <source>Position of the clip plane</source>
        <translation>Position der Schnittebene</translation>
    </message>
    <message>
        <source>Other side</source>
        <translation>Andere Seite</translation>
    </message>
</context>
<context>
    <name>tov::viewer::CommandLineEdit</name>
    <message>
        <source>Type a command (Tab completes it), e.g. grabimage filename=&quot;picture.png&quot; width=4000</source>
        <translation>Befehl eingeben, Tab ergänzt, z. B. grabimage filename=&quot;bild.png&quot; width=4000</translation>
    </message>
</context>
<context>
    <name>tov::viewer::CommandPalette</name>
    <message>
        <source>All commands</source>
        <translation>Alle Befehle</translation>
    </message>
    <message>
        <source>Type a part of a command&apos;s name</source>
        <translation>Teil eines Befehlsnamens eingeben</translation>
    </message>
</context>
<context>
    <name>tov::viewer::CommandStarter</name>
    <message>
        <source>The height follows from the shape of the view: %1 pixels.</source>
        <translation>Die Höhe ergibt sich aus dem Seitenverhältnis der Ansicht: %1 Pixel.</translation>
    </message>
    <message>
        <source>The width follows from the shape of the view: %1 pixels.</source>
        <translation>Die Breite ergibt sich aus dem Seitenverhältnis der Ansicht: %1 Pixel.</translation>
    </message>
    <message>
        <source>%1: the argument &quot;%2&quot; is missing</source>
        <translation>%1: Das Argument „%2“ fehlt</translation>
    </message>
    <message>
        <source>%1 exists already. Replace it?</source>
        <translation>%1 existiert bereits. Ersetzen?</translation>
    </message>
    <message>
        <source>Replace</source>
        <translation>Ersetzen</translation>
    </message>
    <message>
        <source>No trajectory is open, so a synchronised recording would have no frames. Open one first (File &gt; Open trajectory), or switch &quot;sync&quot; off.</source>
        <translation>Es ist keine Trajektorie geöffnet, eine synchronisierte Aufnahme wäre daher leer. Öffnen Sie zuerst eine (Datei &gt; Trajektorie öffnen), oder schalten Sie „Synchron“ aus.</translation>
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
        <translation>Information</translation>
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
    <name>tov::viewer::ExportPictureDialog</name>
    <message>
        <source>Export picture</source>
        <translation>Bild exportieren</translation>
    </message>
    <message>
        <source>Transparent background</source>
        <translation>Transparenter Hintergrund</translation>
    </message>
    <message>
        <source> dpi</source>
        <translation> dpi</translation>
    </message>
    <message>
        <source>Export</source>
        <translation>Exportieren</translation>
    </message>
    <message>
        <source>Size:</source>
        <translation>Größe:</translation>
    </message>
    <message>
        <source>Background:</source>
        <translation>Hintergrund:</translation>
    </message>
    <message>
        <source>Quality:</source>
        <translation>Qualität:</translation>
    </message>
    <message>
        <source>Resolution:</source>
        <translation>Auflösung:</translation>
    </message>
    <message>
        <source>File:</source>
        <translation>Datei:</translation>
    </message>
    <message>
        <source>A file name is needed.</source>
        <translation>Geben Sie einen Dateinamen an.</translation>
    </message>
    <message>
        <source>%1 megapixels, %2 MB of memory while it is drawn</source>
        <translation>%1 Megapixel, %2 MB Speicher beim Zeichnen</translation>
    </message>
    <message>
        <source>The ending selects the format: %1.</source>
        <translation>Die Endung bestimmt das Format: %1.</translation>
    </message>
    <message>
        <source>Look:</source>
        <translation>Darstellung:</translation>
    </message>
    <message>
        <source>; %1 stores no resolution</source>
        <translation>; %1 speichert keine Auflösung</translation>
    </message>
</context>
<context>
    <name>tov::viewer::ExportPreview</name>
    <message>
        <source>Preview</source>
        <translation>Vorschau</translation>
    </message>
</context>
<context>
    <name>tov::viewer::ExportVideoDialog</name>
    <message>
        <source>Export video</source>
        <translation>Video exportieren</translation>
    </message>
    <message>
        <source>Turntable: one turn of the view</source>
        <translation>Drehteller: eine Umdrehung der Ansicht</translation>
    </message>
    <message numerus="yes">
        <source>The open trajectory, %n positions</source>
        <translation>
            <numerusform>Die geöffnete Trajektorie, %n Position</numerusform>
            <numerusform>Die geöffnete Trajektorie, %n Positionen</numerusform>
        </translation>
    </message>
    <message>
        <source> s</source>
        <translation> s</translation>
    </message>
    <message>
        <source> frames per second</source>
        <translation> Bilder pro Sekunde</translation>
    </message>
    <message>
        <source> kbit/s</source>
        <translation> kbit/s</translation>
    </message>
    <message>
        <source>Record</source>
        <translation>Aufnehmen</translation>
    </message>
    <message>
        <source>What moves:</source>
        <translation>Bewegung:</translation>
    </message>
    <message>
        <source>Duration:</source>
        <translation>Dauer:</translation>
    </message>
    <message>
        <source>Format:</source>
        <translation>Format:</translation>
    </message>
    <message>
        <source>Size:</source>
        <translation>Größe:</translation>
    </message>
    <message>
        <source>Frame rate:</source>
        <translation>Bildrate:</translation>
    </message>
    <message>
        <source>Bit rate:</source>
        <translation>Bitrate:</translation>
    </message>
    <message>
        <source>File:</source>
        <translation>Datei:</translation>
    </message>
    <message>
        <source>No video encoder is installed. See Help &gt; About modules.</source>
        <translation>Es ist kein Video-Encoder installiert. Siehe Hilfe &gt; Über Module.</translation>
    </message>
    <message>
        <source>A file name is needed.</source>
        <translation>Geben Sie einen Dateinamen an.</translation>
    </message>
    <message>
        <source>The name must end in .%1 for this format.</source>
        <translation>Bei diesem Format muss der Name auf .%1 enden.</translation>
    </message>
    <message>
        <source>Records until you press Stop or R.</source>
        <translation>Nimmt auf, bis Sie auf „Stopp“ oder R drücken.</translation>
    </message>
    <message>
        <source>%1 frames, %2 s</source>
        <translation>%1 Bilder, %2 s</translation>
    </message>
    <message>
        <source>, at most about %1</source>
        <translation>, höchstens etwa %1</translation>
    </message>
    <message>
        <source>The view as you move it, until you stop</source>
        <translation>Die Ansicht, wie Sie sie bewegen, bis Sie anhalten</translation>
    </message>
    <message>
        <source>Look:</source>
        <translation>Darstellung:</translation>
    </message>
</context>
<context>
    <name>tov::viewer::FileOpener</name>
    <message>
        <source>Another file is still being opened. Try again when it is done.</source>
        <translation>Eine andere Datei wird noch geöffnet. Versuchen Sie es danach noch einmal.</translation>
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
        <source>Open</source>
        <translation>Öffnen</translation>
    </message>
    <message>
        <source>Models and scenes (%1);;Trajectories (*.csv *.tum *.txt *.json);;All files (*)</source>
        <translation>Modelle und Szenen (%1);;Trajektorien (*.csv *.tum *.txt *.json);;Alle Dateien (*)</translation>
    </message>
    <message>
        <source>%1: failed, the system has no free thread</source>
        <translation>%1: fehlgeschlagen, das System hat keinen freien Thread</translation>
    </message>
</context>
<context>
    <name>tov::viewer::Gizmo</name>
    <message>
        <source>Axes of the scene</source>
        <translation>Achsen der Szene</translation>
    </message>
    <message>
        <source>Click an end of an axis for the view from there; drag to turn the view</source>
        <translation>Ein Ende einer Achse anklicken zeigt die Ansicht von dort; Ziehen dreht die Ansicht</translation>
    </message>
</context>
<context>
    <name>tov::viewer::InspectPanel</name>
    <message>
        <source>Visible scene</source>
        <translation>Sichtbare Szene</translation>
    </message>
    <message>
        <source>Selection</source>
        <translation>Auswahl</translation>
    </message>
    <message>
        <source>Parts:</source>
        <translation>Teile:</translation>
    </message>
    <message>
        <source>Triangles:</source>
        <translation>Dreiecke:</translation>
    </message>
    <message>
        <source>Vertices:</source>
        <translation>Eckpunkte:</translation>
    </message>
    <message>
        <source>Size:</source>
        <translation>Größe:</translation>
    </message>
</context>
<context>
    <name>tov::viewer::LookButton</name>
    <message>
        <source>Light, background, edges ...</source>
        <translation>Licht, Hintergrund, Kanten ...</translation>
    </message>
    <message>
        <source>Look</source>
        <translation>Darstellung</translation>
    </message>
</context>
<context>
    <name>tov::viewer::LookPanel</name>
    <message>
        <source>Studio</source>
        <translation>Studio</translation>
    </message>
    <message>
        <source>Headlight</source>
        <translation>Kameralicht</translation>
    </message>
    <message>
        <source>None, plain colours</source>
        <translation>Keines, reine Farben</translation>
    </message>
    <message>
        <source>Environment picture ...</source>
        <translation>Umgebungsbild ...</translation>
    </message>
    <message>
        <source>Surface</source>
        <translation>Flächen</translation>
    </message>
    <message>
        <source>Surface with edges</source>
        <translation>Flächen mit Kanten</translation>
    </message>
    <message>
        <source>Wireframe</source>
        <translation>Drahtgitter</translation>
    </message>
    <message>
        <source>Points</source>
        <translation>Punkte</translation>
    </message>
    <message>
        <source>Sharp and open edges</source>
        <translation>Scharfe und offene Kanten</translation>
    </message>
    <message>
        <source>Flat triangles</source>
        <translation>Flache Schattierung</translation>
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
        <source>Light:</source>
        <translation>Licht:</translation>
    </message>
    <message>
        <source>Exposure:</source>
        <translation>Belichtung:</translation>
    </message>
    <message>
        <source>Show:</source>
        <translation>Anzeigen:</translation>
    </message>
    <message>
        <source>Background:</source>
        <translation>Hintergrund:</translation>
    </message>
    <message>
        <source>Anti-aliasing:</source>
        <translation>Kantenglättung:</translation>
    </message>
    <message>
        <source>Reset</source>
        <translation>Zurücksetzen</translation>
    </message>
    <message>
        <source>Environment picture</source>
        <translation>Umgebungsbild</translation>
    </message>
    <message>
        <source>Radiance pictures (*.hdr)</source>
        <translation>Radiance-Bilder (*.hdr)</translation>
    </message>
    <message>
        <source>Background</source>
        <translation>Hintergrund</translation>
    </message>
    <message>
        <source>One colour for everything</source>
        <translation>Eine Farbe für alles</translation>
    </message>
    <message>
        <source> % of the height</source>
        <translation> % der Höhe</translation>
    </message>
    <message>
        <source>Points:</source>
        <translation>Punkte:</translation>
    </message>
    <message>
        <source>Lines:</source>
        <translation>Linien:</translation>
    </message>
    <message>
        <source>Colour:</source>
        <translation>Farbe:</translation>
    </message>
    <message>
        <source>Colour</source>
        <translation>Farbe</translation>
    </message>
</context>
<context>
    <name>tov::viewer::MainWindow</name>
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
        <source>Open &amp;recent</source>
        <translation>&amp;Zuletzt geöffnet</translation>
    </message>
    <message>
        <source>Opening was stopped.</source>
        <translation>Das Öffnen wurde abgebrochen.</translation>
    </message>
    <message>
        <source>%1 opened.</source>
        <translation>%1 geöffnet.</translation>
    </message>
    <message>
        <source>View copied, %1 x %2 pixels.</source>
        <translation>Ansicht kopiert, %1 x %2 Pixel.</translation>
    </message>
    <message>
        <source>Search parts</source>
        <translation>Teile suchen</translation>
    </message>
    <message>
        <source>Look</source>
        <translation>Darstellung</translation>
    </message>
    <message>
        <source>Inspect</source>
        <translation>Eigenschaften</translation>
    </message>
    <message>
        <source>Capture</source>
        <translation>Aufnahme</translation>
    </message>
    <message>
        <source>Export picture ...</source>
        <translation>Bild exportieren ...</translation>
    </message>
    <message>
        <source>Export a picture: size, transparency, quality (Ctrl+E)</source>
        <translation>Bild exportieren: Größe, Transparenz, Qualität (Strg+E)</translation>
    </message>
    <message>
        <source>Export video ...</source>
        <translation>Video exportieren ...</translation>
    </message>
    <message>
        <source>Export a video: turntable, trajectory or free, size, format (Ctrl+Shift+E)</source>
        <translation>Video exportieren: Drehteller, Trajektorie oder frei, Größe, Format (Strg+Umschalt+E)</translation>
    </message>
    <message>
        <source>%1: %2, %3 x %4 pixels</source>
        <translation>%1: %2, %3 x %4 Pixel</translation>
    </message>
    <message>
        <source>There is no view to copy.</source>
        <translation>Es gibt keine Ansicht zum Kopieren.</translation>
    </message>
    <message>
        <source>Pictures are not available here. See Help &gt; About modules for the reason.</source>
        <translation>Bilder sind hier nicht verfügbar. Den Grund nennt Hilfe &gt; Über Module.</translation>
    </message>
    <message>
        <source>The scene is locked until the picture is done; the change is made then.</source>
        <translation>Die Szene ist gesperrt, bis das Bild fertig ist; danach folgt die Änderung.</translation>
    </message>
    <message>
        <source>Only local files can be opened.</source>
        <translation>Nur Dateien auf diesem Rechner lassen sich öffnen.</translation>
    </message>
    <message>
        <source>The view cannot be copied. See the console for details.</source>
        <translation>Die Ansicht kann nicht kopiert werden. Einzelheiten stehen in der Konsole.</translation>
    </message>
</context>
<context>
    <name>tov::viewer::MeasureControls</name>
    <message>
        <source>Click two points of a surface; Esc ends.</source>
        <translation>Zwei Punkte einer Oberfläche anklicken; Esc beendet.</translation>
    </message>
    <message>
        <source>Distance:</source>
        <translation>Abstand:</translation>
    </message>
    <message>
        <source>Copy</source>
        <translation>Kopieren</translation>
    </message>
</context>
<context>
    <name>tov::viewer::ModelReload</name>
    <message>
        <source>&amp;Reload</source>
        <translation>&amp;Neu laden</translation>
    </message>
    <message>
        <source>Reloading %1</source>
        <translation>%1 wird neu geladen</translation>
    </message>
    <message numerus="yes">
        <source>Reloading %n models</source>
        <translation>
            <numerusform>%n Modell wird neu geladen</numerusform>
            <numerusform>%n Modelle werden neu geladen</numerusform>
        </translation>
    </message>
    <message>
        <source>%1; the model stays as it was</source>
        <translation>%1; das Modell bleibt, wie es war</translation>
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
    <name>tov::viewer::OutputFileField</name>
    <message>
        <source>Choose a file</source>
        <translation>Datei wählen</translation>
    </message>
    <message>
        <source>%1 exists already. Replace it?</source>
        <translation>%1 gibt es schon. Ersetzen?</translation>
    </message>
    <message>
        <source>Replace</source>
        <translation>Ersetzen</translation>
    </message>
</context>
<context>
    <name>tov::viewer::PanelFrame</name>
    <message>
        <source>Fit to view</source>
        <translation>Einpassen</translation>
    </message>
    <message>
        <source>Camera follows the trajectory</source>
        <translation>Kamera folgt der Trajektorie</translation>
    </message>
    <message>
        <source>The guide is wider than this view: a picture of that shape shows more on both sides.</source>
        <translation>Der Rahmen ist breiter als diese Ansicht: Ein Bild mit diesem Seitenverhältnis zeigt auf beiden Seiten mehr.</translation>
    </message>
    <message>
        <source>Close this view</source>
        <translation>Diese Ansicht schließen</translation>
    </message>
</context>
<context>
    <name>tov::viewer::ParameterDialog</name>
    <message>
        <source>A value is needed here.</source>
        <translation>Hier fehlt ein Wert.</translation>
    </message>
    <message>
        <source>&quot;%1&quot; cannot be used here.</source>
        <translation>„%1“ ist hier nicht zulässig.</translation>
    </message>
</context>
<context>
    <name>tov::viewer::PartEdits</name>
    <message>
        <source>show</source>
        <translation>Einblenden</translation>
    </message>
    <message>
        <source>hide</source>
        <translation>Ausblenden</translation>
    </message>
    <message>
        <source>isolate</source>
        <translation>Freistellen</translation>
    </message>
    <message>
        <source>show all</source>
        <translation>Alle einblenden</translation>
    </message>
    <message>
        <source>colour</source>
        <translation>Farbe</translation>
    </message>
    <message>
        <source>opacity</source>
        <translation>Deckkraft</translation>
    </message>
    <message>
        <source>remove</source>
        <translation>Entfernen</translation>
    </message>
    <message>
        <source>restore parts</source>
        <translation>Teile zurückholen</translation>
    </message>
</context>
<context>
    <name>tov::viewer::PathEditor</name>
    <message>
        <source>Views of the camera path</source>
        <translation>Ansichten der Kamerafahrt</translation>
    </message>
    <message>
        <source>Click a view to go there; drag it, or press Alt+Up and Alt+Down, to change the order</source>
        <translation>Anklicken zeigt die Ansicht; Ziehen oder Alt+Auf und Alt+Ab ändert die Reihenfolge</translation>
    </message>
    <message>
        <source> s</source>
        <translation> s</translation>
    </message>
    <message>
        <source>When the camera is there; later views keep their distance</source>
        <translation>Wann die Kamera dort ist; spätere Ansichten behalten ihren Abstand</translation>
    </message>
    <message>
        <source>Off</source>
        <translation>Aus</translation>
    </message>
    <message>
        <source>Start</source>
        <translation>Anfang</translation>
    </message>
    <message>
        <source>End</source>
        <translation>Ende</translation>
    </message>
    <message>
        <source>Start and end</source>
        <translation>Anfang und Ende</translation>
    </message>
    <message>
        <source>Back to the first view</source>
        <translation>Zurück zur ersten Ansicht</translation>
    </message>
    <message>
        <source>Constant speed</source>
        <translation>Gleichmäßige Geschwindigkeit</translation>
    </message>
    <message>
        <source>Update</source>
        <translation>Ersetzen</translation>
    </message>
    <message>
        <source>Replace the selected view by the active view</source>
        <translation>Die gewählte Ansicht durch die aktive ersetzen</translation>
    </message>
    <message>
        <source>Remove</source>
        <translation>Entfernen</translation>
    </message>
    <message>
        <source>Preview</source>
        <translation>Vorschau</translation>
    </message>
    <message>
        <source>Save ...</source>
        <translation>Speichern ...</translation>
    </message>
    <message>
        <source>Add view</source>
        <translation>Ansicht hinzufügen</translation>
    </message>
    <message>
        <source>Time:</source>
        <translation>Zeit:</translation>
    </message>
    <message>
        <source>Slow at:</source>
        <translation>Langsam am:</translation>
    </message>
    <message>
        <source>Length:</source>
        <translation>Länge:</translation>
    </message>
    <message>
        <source>Open ...</source>
        <translation>Öffnen ...</translation>
    </message>
    <message>
        <source>View %1
%2 s</source>
        <translation>Ansicht %1
%2 s</translation>
    </message>
    <message>
        <source>%1 s</source>
        <translation>%1 s</translation>
    </message>
    <message>
        <source>%1 cannot be opened as a camera path: %2</source>
        <translation>%1 lässt sich nicht als Kamerafahrt öffnen: %2</translation>
    </message>
    <message>
        <source>it is larger than 64 MiB</source>
        <translation>sie ist größer als 64 MiB</translation>
    </message>
    <message>
        <source>cannot write &apos;%1&apos;: %2</source>
        <translation>„%1“ kann nicht geschrieben werden: %2</translation>
    </message>
    <message>
        <source>Open camera path</source>
        <translation>Kamerafahrt öffnen</translation>
    </message>
    <message>
        <source>Camera paths (*.json)</source>
        <translation>Kamerafahrten (*.json)</translation>
    </message>
    <message>
        <source>Save camera path</source>
        <translation>Kamerafahrt speichern</translation>
    </message>
</context>
<context>
    <name>tov::viewer::PictureExport</name>
    <message>
        <source>unknown picture format &apos;%1&apos;; known formats: %2</source>
        <translation>unbekanntes Bildformat „%1“; bekannte Formate: %2</translation>
    </message>
    <message>
        <source>pictures are not available here; see Help &gt; About modules for the reason</source>
        <translation>Bilder sind hier nicht verfügbar; den Grund nennt Hilfe &gt; Über Module</translation>
    </message>
    <message>
        <source>%1 is not a regular file</source>
        <translation>%1 ist keine gewöhnliche Datei</translation>
    </message>
    <message>
        <source>it cannot be drawn</source>
        <translation>es kann nicht gezeichnet werden</translation>
    </message>
    <message>
        <source>cannot make &apos;%1&apos;: %2</source>
        <translation>„%1“ kann nicht erzeugt werden: %2</translation>
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
        <translation>Wie der Desktop</translation>
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
    <name>tov::viewer::QuickCapture</name>
    <message>
        <source>Record</source>
        <translation>Aufnehmen</translation>
    </message>
    <message>
        <source>Snapshot</source>
        <translation>Schnappschuss</translation>
    </message>
    <message>
        <source>Record the active view as you move it; again to stop (R)</source>
        <translation>Die aktive Ansicht aufnehmen, wie Sie sie bewegen; noch einmal zum Stoppen (R)</translation>
    </message>
    <message>
        <source>Save a picture of the active view, without a dialog (F12)</source>
        <translation>Ein Bild der aktiven Ansicht ohne Dialog speichern (F12)</translation>
    </message>
    <message>
        <source>State of the recording</source>
        <translation>Zustand der Aufnahme</translation>
    </message>
    <message>
        <source>Stop</source>
        <translation>Stopp</translation>
    </message>
    <message numerus="yes">
        <source>%n frame(s)</source>
        <translation>
            <numerusform>%n Bild</numerusform>
            <numerusform>%n Bilder</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>about %n frame(s) pending</source>
        <translation>
            <numerusform>etwa %n Bild wartet</numerusform>
            <numerusform>etwa %n Bilder warten</numerusform>
        </translation>
    </message>
    <message>
        <source>%1 free</source>
        <translation>%1 frei</translation>
    </message>
</context>
<context>
    <name>tov::viewer::QuitGuard</name>
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

Recordings are stopped and keep what they have captured; pictures are finished. Then the window closes.</source>
        <translation>Es läuft noch:
%1

Aufnahmen werden gestoppt und behalten, was aufgenommen wurde; Bilder werden fertiggestellt. Danach wird das Fenster geschlossen.</translation>
    </message>
    <message>
        <source>Finish and quit</source>
        <translation>Fertigstellen und beenden</translation>
    </message>
    <message>
        <source>Wait</source>
        <translation>Warten</translation>
    </message>
    <message>
        <source>Finishing running work ...</source>
        <translation>Laufende Arbeiten werden fertiggestellt ...</translation>
    </message>
    <message>
        <source>Some work does not end. Wait for it, or quit anyway? Unsaved results are lost.</source>
        <translation>Eine Arbeit endet nicht. Warten oder trotzdem beenden? Nicht gespeicherte Ergebnisse gehen verloren.</translation>
    </message>
    <message>
        <source>Quit anyway</source>
        <translation>Trotzdem beenden</translation>
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
        <translation>Liste leeren</translation>
    </message>
</context>
<context>
    <name>tov::viewer::RecordedViews</name>
    <message>
        <source>Close view</source>
        <translation>Ansicht schließen</translation>
    </message>
    <message>
        <source>This would close a view that is being recorded:
%1

Stop the recording and keep what it has captured?</source>
        <translation>Damit wird eine Ansicht geschlossen, die gerade aufgenommen wird:
%1

Die Aufnahme stoppen und behalten?</translation>
    </message>
    <message>
        <source>Stop, keep and close</source>
        <translation>Stoppen, behalten und schließen</translation>
    </message>
</context>
<context>
    <name>tov::viewer::RunNotices</name>
    <message>
        <source>, %1 x %2 pixels</source>
        <translation>, %1 x %2 Pixel</translation>
    </message>
    <message>
        <source>, %1 frames, %2 s long</source>
        <translation>, %1 Bilder, %2 s lang</translation>
    </message>
    <message>
        <source>, done in %1</source>
        <translation>, fertig in %1</translation>
    </message>
    <message>
        <source>%1 is not complete: %2</source>
        <translation>%1 ist unvollständig: %2</translation>
    </message>
    <message>
        <source>Nothing was written to %1. See the console for details.</source>
        <translation>In %1 wurde nichts geschrieben. Einzelheiten stehen in der Konsole.</translation>
    </message>
    <message>
        <source>Nothing was written to %1: %2</source>
        <translation>In %1 wurde nichts geschrieben: %2</translation>
    </message>
    <message>
        <source>A recording takes no more frames: %1. What it has captured is kept; stop it if it does not end by itself.</source>
        <translation>Eine Aufnahme nimmt keine Bilder mehr an: %1. Was aufgenommen ist, bleibt erhalten; stoppen Sie die Aufnahme, falls sie nicht von selbst endet.</translation>
    </message>
    <message>
        <source>&quot;%1&quot; was asked to stop and has not ended yet. A picture is finished first; an encoder that hangs never ends. You can go on working.</source>
        <translation>„%1“ soll stoppen, läuft aber noch. Ein Bild wird zuerst fertiggestellt; ein hängender Encoder endet nie. Sie können weiterarbeiten.</translation>
    </message>
    <message>
        <source>No trajectory is open, so a synchronised recording has no frames. Open one with File &gt; Open trajectory, or record with &quot;sync&quot; off.</source>
        <translation>Es ist keine Trajektorie geöffnet, eine synchronisierte Aufnahme ist daher leer. Öffnen Sie eine mit Datei &gt; Trajektorie öffnen, oder schalten Sie „Synchron“ aus.</translation>
    </message>
    <message>
        <source>, recorded at %1 frames per second</source>
        <translation>, aufgenommen mit %1 Bildern je Sekunde</translation>
    </message>
    <message>
        <source>, recorded at %1 frames per second, plays at %2x real time</source>
        <translation>, aufgenommen mit %1 Bildern je Sekunde, läuft mit %2-facher Geschwindigkeit</translation>
    </message>
    <message>
        <source>%1 is not complete: %2; what was recorded is in %3</source>
        <translation>%1 ist nicht vollständig: %2; das bisher Aufgenommene steht in %3</translation>
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
        <translation>Wird gestoppt ...</translation>
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
        <source>Video %1</source>
        <translation>Video %1</translation>
    </message>
    <message>
        <source>Picture %1</source>
        <translation>Bild %1</translation>
    </message>
    <message>
        <source>Free space on the disk of the output, and approximate amount of data to be encoded</source>
        <translation>Freier Platz auf dem Ziellaufwerk und ungefähre Menge, die noch kodiert werden muss</translation>
    </message>
    <message>
        <source>Picture</source>
        <translation>Bild</translation>
    </message>
</context>
<context>
    <name>tov::viewer::SafeRuns</name>
    <message>
        <source>%1 is not a regular file</source>
        <translation>%1 ist keine gewöhnliche Datei</translation>
    </message>
    <message>
        <source>it has %1 frames instead of %2</source>
        <translation>sie hat %1 Bilder statt %2</translation>
    </message>
    <message>
        <source>it was stopped, and the older file is unchanged</source>
        <translation>sie wurde angehalten, und die ältere Datei ist unverändert</translation>
    </message>
</context>
<context>
    <name>tov::viewer::SceneDocument</name>
    <message>
        <source>&amp;Save scene</source>
        <translation>Szene &amp;speichern</translation>
    </message>
    <message>
        <source>Save scene &amp;as ...</source>
        <translation>Szene speichern &amp;unter ...</translation>
    </message>
    <message>
        <source>Save the scene?</source>
        <translation>Szene speichern?</translation>
    </message>
    <message>
        <source>%1 was changed. Save the changes?</source>
        <translation>%1 wurde geändert. Sollen die Änderungen gespeichert werden?</translation>
    </message>
    <message>
        <source>scene</source>
        <translation>szene</translation>
    </message>
    <message>
        <source>Save scene</source>
        <translation>Szene speichern</translation>
    </message>
    <message>
        <source>Scenes (*.%1)</source>
        <translation>Szenen (*.%1)</translation>
    </message>
    <message>
        <source>A scene cannot be opened while pictures or videos are being made. Stop them first.</source>
        <translation>Eine Szene kann nicht geöffnet werden, während Bilder oder Videos erstellt werden. Beenden Sie diese zuerst.</translation>
    </message>
    <message>
        <source>Opening %1</source>
        <translation>%1 wird geöffnet</translation>
    </message>
    <message>
        <source>Another file is still being opened. Try again when it is done.</source>
        <translation>Eine andere Datei wird noch geöffnet. Versuchen Sie es danach erneut.</translation>
    </message>
</context>
<context>
    <name>tov::viewer::SceneSession</name>
    <message>
        <source>%1 opened.</source>
        <translation>%1 geöffnet.</translation>
    </message>
    <message>
        <source>%1 saved.</source>
        <translation>%1 gespeichert.</translation>
    </message>
    <message>
        <source>A model has changed. It is reloaded when the pictures and videos are done.</source>
        <translation>Ein Modell wurde geändert. Es wird neu geladen, wenn die Bilder und Videos fertig sind.</translation>
    </message>
    <message>
        <source>%1 reloaded.</source>
        <translation>%1 neu geladen.</translation>
    </message>
    <message numerus="yes">
        <source>%n models reloaded.</source>
        <translation>
            <numerusform>%n Modell neu geladen.</numerusform>
            <numerusform>%n Modelle neu geladen.</numerusform>
        </translation>
    </message>
    <message>
        <source>Open a scene file alone, not together with other files.</source>
        <translation>Öffnen Sie eine Szenendatei allein, nicht zusammen mit anderen Dateien.</translation>
    </message>
    <message numerus="yes">
        <source>%1 and %n more</source>
        <translation>
            <numerusform>%1 und %n weiteres</numerusform>
            <numerusform>%1 und %n weitere</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>tov::viewer::SceneTree</name>
    <message>
        <source>(no name)</source>
        <translation>(ohne Namen)</translation>
    </message>
    <message>
        <source>Parts of the scene</source>
        <translation>Teile der Szene</translation>
    </message>
    <message>
        <source>Fit to view</source>
        <translation>Einpassen</translation>
    </message>
    <message>
        <source>&amp;Undo</source>
        <translation>&amp;Rückgängig</translation>
    </message>
    <message>
        <source>&amp;Redo</source>
        <translation>&amp;Wiederholen</translation>
    </message>
    <message>
        <source>&amp;Isolate</source>
        <translation>&amp;Freistellen</translation>
    </message>
    <message>
        <source>&amp;Hide</source>
        <translation>&amp;Ausblenden</translation>
    </message>
    <message>
        <source>Show &amp;all</source>
        <translation>A&amp;lle einblenden</translation>
    </message>
    <message>
        <source>&amp;Colour ...</source>
        <translation>Far&amp;be ...</translation>
    </message>
    <message>
        <source>&amp;Opacity ...</source>
        <translation>&amp;Deckkraft ...</translation>
    </message>
    <message>
        <source>As in the &amp;file</source>
        <translation>Wie in der Da&amp;tei</translation>
    </message>
    <message>
        <source>Re&amp;move</source>
        <translation>&amp;Entfernen</translation>
    </message>
    <message>
        <source>Re&amp;store removed parts</source>
        <translation>Entfernte Teile &amp;zurückholen</translation>
    </message>
    <message>
        <source>colour and opacity of the file</source>
        <translation>Farbe und Deckkraft der Datei</translation>
    </message>
    <message>
        <source>Colour of the selected parts</source>
        <translation>Farbe der ausgewählten Teile</translation>
    </message>
    <message>
        <source>Opacity of the selected parts</source>
        <translation>Deckkraft der ausgewählten Teile</translation>
    </message>
    <message>
        <source>Percent, 100 = opaque:</source>
        <translation>Prozent, 100 = undurchsichtig:</translation>
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
        <translation>Aktion</translation>
    </message>
    <message>
        <source>How</source>
        <translation>Eingabe</translation>
    </message>
    <message>
        <source>Turn the view</source>
        <translation>Ansicht drehen</translation>
    </message>
    <message>
        <source>Left button, arrow keys, Ctrl + wheel</source>
        <translation>Linke Maustaste, Pfeiltasten, Strg + Mausrad</translation>
    </message>
    <message>
        <source>Move the view</source>
        <translation>Ansicht verschieben</translation>
    </message>
    <message>
        <source>Middle or right button, Shift + left button, Shift + wheel</source>
        <translation>Mittlere oder rechte Maustaste, Umschalt + linke Maustaste, Umschalt + Mausrad</translation>
    </message>
    <message>
        <source>Zoom at the pointer</source>
        <translation>Am Mauszeiger zoomen</translation>
    </message>
    <message>
        <source>Wheel, two fingers, + and -</source>
        <translation>Mausrad, zwei Finger, + und -</translation>
    </message>
    <message>
        <source>Right click</source>
        <translation>Rechtsklick</translation>
    </message>
    <message>
        <source>Menu of the view</source>
        <translation>Menü der Ansicht</translation>
    </message>
    <message>
        <source>Set the centre of rotation</source>
        <translation>Drehpunkt setzen</translation>
    </message>
    <message>
        <source>Double click on the model</source>
        <translation>Doppelklick auf das Modell</translation>
    </message>
    <message>
        <source>Select a part</source>
        <translation>Teil auswählen</translation>
    </message>
    <message>
        <source>Click; Ctrl + click adds or removes; space: the part in the middle</source>
        <translation>Klick; Strg + Klick fügt hinzu oder entfernt; Leertaste: der Teil in der Mitte</translation>
    </message>
</context>
<context>
    <name>tov::viewer::SizePicker</name>
    <message>
        <source>1080p</source>
        <translation>1080p</translation>
    </message>
    <message>
        <source>4K</source>
        <translation>4K</translation>
    </message>
    <message>
        <source>Square</source>
        <translation>Quadratisch</translation>
    </message>
    <message>
        <source>As the view</source>
        <translation>Wie die Ansicht</translation>
    </message>
    <message>
        <source>720p</source>
        <translation>720p</translation>
    </message>
    <message>
        <source>Upright</source>
        <translation>Hochformat</translation>
    </message>
    <message>
        <source>Other</source>
        <translation>Andere</translation>
    </message>
    <message>
        <source>Width</source>
        <translation>Breite</translation>
    </message>
    <message>
        <source>Height</source>
        <translation>Höhe</translation>
    </message>
    <message>
        <source>Page width, %1 dpi</source>
        <translation>Seitenbreite, %1 dpi</translation>
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
        <translation>Positionen pro Umdrehung:</translation>
    </message>
    <message>
        <source>Previous position</source>
        <translation>Vorherige Position</translation>
    </message>
    <message>
        <source>Play</source>
        <translation>Abspielen</translation>
    </message>
    <message>
        <source>Next position</source>
        <translation>Nächste Position</translation>
    </message>
    <message>
        <source>Loop</source>
        <translation>Endlosschleife</translation>
    </message>
    <message>
        <source>Start again at the first position after the last one</source>
        <translation>Nach der letzten Position von vorn beginnen</translation>
    </message>
    <message>
        <source>Camera follows</source>
        <translation>Kamera folgt</translation>
    </message>
    <message>
        <source>Pause</source>
        <translation>Pause</translation>
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
    <message>
        <source>Animations</source>
        <translation>Animationen</translation>
    </message>
    <message>
        <source>Play an animation of the models in the scene</source>
        <translation>Eine Animation der Modelle in der Szene abspielen</translation>
    </message>
    <message>
        <source>Without a name</source>
        <translation>Ohne Namen</translation>
    </message>
    <message>
        <source>No animations</source>
        <translation>Keine Animationen</translation>
    </message>
    <message>
        <source>Show path</source>
        <translation>Pfad zeigen</translation>
    </message>
    <message>
        <source>Draw the path of the trajectory in the views, not in pictures and videos</source>
        <translation>Den Pfad der Trajektorie in den Ansichten zeichnen, nicht in Bildern und Videos</translation>
    </message>
    <message>
        <source>Whether the trajectory&apos;s camera moves the active view</source>
        <translation>Ob die Kamera der Trajektorie die aktive Ansicht bewegt</translation>
    </message>
</context>
<context>
    <name>tov::viewer::ViewBookmarks</name>
    <message>
        <source>&amp;Add bookmark</source>
        <translation>Lesezeichen &amp;hinzufügen</translation>
    </message>
    <message>
        <source>View %1</source>
        <translation>Ansicht %1</translation>
    </message>
    <message>
        <source>Remove all</source>
        <translation>Alle entfernen</translation>
    </message>
</context>
<context>
    <name>tov::viewer::ViewTools</name>
    <message>
        <source>Dimensions</source>
        <translation>Maße</translation>
    </message>
    <message>
        <source>Clip plane</source>
        <translation>Schnittebene</translation>
    </message>
    <message>
        <source>&amp;Measure</source>
        <translation>&amp;Messen</translation>
    </message>
    <message>
        <source>Measure the distance of two points (M)</source>
        <translation>Den Abstand zweier Punkte messen (M)</translation>
    </message>
    <message>
        <source>End measuring</source>
        <translation>Messen beenden</translation>
    </message>
    <message>
        <source>Bounding &amp;box</source>
        <translation>&amp;Umgebender Quader</translation>
    </message>
    <message>
        <source>Show the size of the selection, or of the scene (B)</source>
        <translation>Die Größe der Auswahl oder der Szene zeigen (B)</translation>
    </message>
    <message>
        <source>Fit to &amp;selection</source>
        <translation>&amp;Auswahl einpassen</translation>
    </message>
    <message>
        <source>Camera path</source>
        <translation>Kamerafahrt</translation>
    </message>
    <message>
        <source>Add view to the camera &amp;path</source>
        <translation>Ansicht zur &amp;Kamerafahrt hinzufügen</translation>
    </message>
    <message>
        <source>&amp;Link cameras</source>
        <translation>Kameras &amp;koppeln</translation>
    </message>
    <message>
        <source>Show a&amp;xes</source>
        <translation>A&amp;chsen zeigen</translation>
    </message>
    <message>
        <source>A&amp;nimate camera movements</source>
        <translation>Kamerabewegungen a&amp;nimieren</translation>
    </message>
    <message>
        <source>Fit to selection</source>
        <translation>Auswahl einpassen</translation>
    </message>
    <message>
        <source>Make this the centre of rotation</source>
        <translation>Als Drehpunkt verwenden</translation>
    </message>
</context>
<context>
    <name>tov::viewer::WindowMenus</name>
    <message>
        <source>&amp;File</source>
        <translation>&amp;Datei</translation>
    </message>
    <message>
        <source>&amp;Open ...</source>
        <translation>Ö&amp;ffnen ...</translation>
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
        <source>F&amp;ull screen</source>
        <translation>&amp;Vollbild</translation>
    </message>
    <message>
        <source>One view</source>
        <translation>Eine Ansicht</translation>
    </message>
    <message>
        <source>%1 views</source>
        <translation>%1 Ansichten</translation>
    </message>
    <message>
        <source>Close view</source>
        <translation>Ansicht schließen</translation>
    </message>
    <message>
        <source>&amp;Fit to view</source>
        <translation>&amp;Einpassen</translation>
    </message>
    <message>
        <source>&amp;Undo camera movement</source>
        <translation>Kamerabewegung &amp;rückgängig machen</translation>
    </message>
    <message>
        <source>&amp;Redo camera movement</source>
        <translation>Kamerabewegung &amp;wiederholen</translation>
    </message>
    <message>
        <source>&amp;Orthographic</source>
        <translation>&amp;Orthografisch</translation>
    </message>
    <message>
        <source>Field of view</source>
        <translation>Bildwinkel</translation>
    </message>
    <message>
        <source>Vertical angle in degrees:</source>
        <translation>Vertikaler Winkel in Grad:</translation>
    </message>
    <message>
        <source>Field of &amp;view ...</source>
        <translation>&amp;Bildwinkel ...</translation>
    </message>
    <message>
        <source>&amp;Bookmarks</source>
        <translation>&amp;Lesezeichen</translation>
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
        <source>&amp;Help</source>
        <translation>&amp;Hilfe</translation>
    </message>
    <message>
        <source>&amp;Keys and mouse ...</source>
        <translation>&amp;Tasten und Maus ...</translation>
    </message>
    <message>
        <source>&amp;Find a command ...</source>
        <translation>Befehl &amp;suchen ...</translation>
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
        <source>&amp;Tools</source>
        <translation>&amp;Werkzeuge</translation>
    </message>
    <message>
        <source>&amp;Edit</source>
        <translation>&amp;Bearbeiten</translation>
    </message>
</context>
</TS>

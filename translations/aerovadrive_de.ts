<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<!-- The app's strings table in German, by key, as the English one. ".DICT." keys give the plural
     forms of their format (German has two, as English). A key missing here shows in English. -->
<TS version="2.1" language="de" sourcelanguage="en">
<context>
    <name></name>
    <message id=".DICT.ITEMS.%d" numerus="yes">
        <source>%d Items</source>
        <translation>
            <numerusform>%d Objekt</numerusform>
            <numerusform>%d Objekte</numerusform>
        </translation>
    </message>
    <message id=".DICT.AVAILABLE.%g" numerus="yes">
        <source>%2$@ available</source>
        <translation>
            <numerusform>%2$@ verfügbar</numerusform>
            <numerusform>%2$@ verfügbar</numerusform>
        </translation>
    </message>
    <message id=".DICT.ITEMS_SELECTED.%d" numerus="yes">
        <source>%d Items Selected</source>
        <translation>
            <numerusform>%d Objekt ausgewählt</numerusform>
            <numerusform>%d Objekte ausgewählt</numerusform>
        </translation>
    </message>
    <message id=".DICT.MOVE_ITEMS.%d" numerus="yes">
        <source>Move %d Items</source>
        <translation>
            <numerusform>%d Objekt bewegen</numerusform>
            <numerusform>%d Objekte bewegen</numerusform>
        </translation>
    </message>
    <message id=".DICT.CANNOT_MOVE_ITEMS.%d" numerus="yes">
        <source>%d items couldn’t be moved.</source>
        <translation>
            <numerusform>%d Objekt konnte nicht bewegt werden.</numerusform>
            <numerusform>%d Objekte konnten nicht bewegt werden.</numerusform>
        </translation>
    </message>
    <message id=".DICT.CANNOT_DELETE_ITEMS.%d" numerus="yes">
        <source>%d items couldn’t be deleted.</source>
        <translation>
            <numerusform>%d Objekt konnte nicht gelöscht werden.</numerusform>
            <numerusform>%d Objekte konnten nicht gelöscht werden.</numerusform>
        </translation>
    </message>
    <message id="Select">
        <source>Select</source>
        <translation>Auswählen</translation>
    </message>
    <message id="Select Items">
        <source>Select Items</source>
        <translation>Objekte auswählen</translation>
    </message>
    <message id="Cancel">
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message id="Done">
        <source>Done</source>
        <translation>Fertig</translation>
    </message>
    <message id="OK">
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message id="New Folder">
        <source>New Folder</source>
        <translation>Neuer Ordner</translation>
    </message>
    <message id="Create">
        <source>Create</source>
        <translation>Erstellen</translation>
    </message>
    <message id="Move">
        <source>Move</source>
        <translation>Bewegen</translation>
    </message>
    <message id="Delete">
        <source>Delete</source>
        <translation>Löschen</translation>
    </message>
    <message id="Search">
        <source>Search</source>
        <translation>Suchen</translation>
    </message>
    <message id="No Results">
        <source>No Results</source>
        <translation>Keine Treffer</translation>
    </message>
    <message id="This folder is empty">
        <source>This folder is empty</source>
        <translation>Dieser Ordner ist leer</translation>
    </message>
    <message id="Sort By">
        <source>Sort By</source>
        <translation>Sortieren nach</translation>
    </message>
    <message id="Name">
        <source>Name</source>
        <translation>Name</translation>
    </message>
    <message id="Date">
        <source>Date</source>
        <translation>Datum</translation>
    </message>
    <message id="Size">
        <source>Size</source>
        <translation>Größe</translation>
    </message>
    <message id="Kind">
        <source>Kind</source>
        <translation>Art</translation>
    </message>
    <message id="Show as Grid">
        <source>Show as Grid</source>
        <translation>Als Raster anzeigen</translation>
    </message>
    <message id="Show as List">
        <source>Show as List</source>
        <translation>Als Liste anzeigen</translation>
    </message>
    <message id="Sort and View">
        <source>Sort and View</source>
        <translation>Sortierung und Ansicht</translation>
    </message>
    <message id="Add">
        <source>Add</source>
        <translation>Hinzufügen</translation>
    </message>
    <message id="Add Files">
        <source>Add Files</source>
        <translation>Dateien hinzufügen</translation>
    </message>
    <message id="Add Files…">
        <source>Add Files…</source>
        <translation>Dateien hinzufügen …</translation>
    </message>
    <message id="Adding Documents…">
        <source>Adding Documents…</source>
        <translation>Dokumente werden hinzugefügt …</translation>
    </message>
    <message id="%d documents could not be added.">
        <source>%d documents could not be added.</source>
        <translation>%d Dokumente konnten nicht hinzugefügt werden.</translation>
    </message>
    <message id="“%@” could not be added: %@">
        <source>“%@” could not be added: %@</source>
        <translation>„%@“ konnte nicht hinzugefügt werden: %@</translation>
    </message>
    <message id="it is a folder; only documents are added.">
        <source>it is a folder; only documents are added.</source>
        <translation>es ist ein Ordner; nur Dokumente werden hinzugefügt.</translation>
    </message>
    <message id="it is not a document.">
        <source>it is not a document.</source>
        <translation>es ist kein Dokument.</translation>
    </message>
    <message id="the drive does not allow its name.">
        <source>the drive does not allow its name.</source>
        <translation>der Name ist im Laufwerk nicht erlaubt.</translation>
    </message>
    <message id="the folder is not in the drive.">
        <source>the folder is not in the drive.</source>
        <translation>der Ordner liegt nicht im Laufwerk.</translation>
    </message>
    <message id="Rename Item">
        <source>Rename Item</source>
        <translation>Objekt umbenennen</translation>
    </message>
    <message id="Rename Item…">
        <source>Rename Item…</source>
        <translation>Objekt umbenennen …</translation>
    </message>
    <message id="Share Item…">
        <source>Share Item…</source>
        <translation>Objekt teilen …</translation>
    </message>
    <message id="Move to Folder…">
        <source>Move to Folder…</source>
        <translation>In Ordner bewegen …</translation>
    </message>
    <message id="Move Here">
        <source>Move Here</source>
        <translation>Hierher bewegen</translation>
    </message>
    <message id="No Folders">
        <source>No Folders</source>
        <translation>Keine Ordner</translation>
    </message>
    <message id="Info">
        <source>Info</source>
        <translation>Info</translation>
    </message>
    <message id="Copy">
        <source>Copy</source>
        <translation>Kopieren</translation>
    </message>
    <message id="Show in Folder">
        <source>Show in Folder</source>
        <translation>Im Ordner zeigen</translation>
    </message>
    <message id="Open in “%@”">
        <source>Open in “%@”</source>
        <translation>In „%@“ öffnen</translation>
    </message>
    <message id="“%@” Could Not Be Opened">
        <source>“%@” Could Not Be Opened</source>
        <translation>„%@“ konnte nicht geöffnet werden</translation>
    </message>
    <message id="Folder">
        <source>Folder</source>
        <translation>Ordner</translation>
    </message>
    <message id="Folder Name">
        <source>Folder Name</source>
        <translation>Ordnername</translation>
    </message>
    <message id="Enter a name for this folder.">
        <source>Enter a name for this folder.</source>
        <translation>Gib einen Namen für diesen Ordner ein.</translation>
    </message>
    <message id="Enter a new name for this item.">
        <source>Enter a new name for this item.</source>
        <translation>Gib einen neuen Namen für dieses Objekt ein.</translation>
    </message>
    <message id="Choose a different name.">
        <source>Choose a different name.</source>
        <translation>Wähle einen anderen Namen.</translation>
    </message>
    <message id="The name “%@” is already taken.">
        <source>The name “%@” is already taken.</source>
        <translation>Der Name „%@“ ist bereits vergeben.</translation>
    </message>
    <message id="Character not allowed in filename">
        <source>Character not allowed in filename</source>
        <translation>Zeichen im Dateinamen nicht erlaubt</translation>
    </message>
    <message id="Where">
        <source>Where</source>
        <translation>Ort</translation>
    </message>
    <message id="Created">
        <source>Created</source>
        <translation>Erstellt</translation>
    </message>
    <message id="Modified">
        <source>Modified</source>
        <translation>Geändert</translation>
    </message>
    <message id="Tags">
        <source>Tags</source>
        <translation>Tags</translation>
    </message>
    <message id="Download">
        <source>Download</source>
        <translation>Laden</translation>
    </message>
    <message id="Download to View">
        <source>Download to View</source>
        <translation>Zum Ansehen laden</translation>
    </message>
    <message id="Cancel Download">
        <source>Cancel Download</source>
        <translation>Laden abbrechen</translation>
    </message>
    <message id="Loading…">
        <source>Loading…</source>
        <translation>Wird geladen …</translation>
    </message>
    <message id="%1$@ of %2$@">
        <source>%1$@ of %2$@</source>
        <translation>%1$@ von %2$@</translation>
    </message>
    <message id="This item is over %@.">
        <source>This item is over %@.</source>
        <translation>Dieses Objekt ist größer als %@.</translation>
    </message>
    <message id="“%@” will not download until you connect to Wi-Fi.">
        <source>“%@” will not download until you connect to Wi-Fi.</source>
        <translation>„%@“ wird erst im WLAN geladen.</translation>
    </message>
    <message id="Unable to download file. You are no longer connected to the Internet.">
        <source>Unable to download file. You are no longer connected to the Internet.</source>
        <translation>Die Datei kann nicht geladen werden. Du bist nicht mehr mit dem Internet verbunden.</translation>
    </message>
    <message id="The rest is too long to preview.">
        <source>The rest is too long to preview.</source>
        <translation>Der Rest ist zu lang für die Vorschau.</translation>
    </message>
    <message id="Play">
        <source>Play</source>
        <translation>Abspielen</translation>
    </message>
    <message id="Position">
        <source>Position</source>
        <translation>Position</translation>
    </message>
    <message id="Delete from Aerova Drive">
        <source>Delete from Aerova Drive</source>
        <translation>Aus Aerova Drive löschen</translation>
    </message>
    <message id="Being moved">
        <source>Being moved</source>
        <translation>Wird bewegt</translation>
    </message>
    <message id="Aerova Drive Is Off">
        <source>Aerova Drive Is Off</source>
        <translation>Aerova Drive ist aus</translation>
    </message>
    <message id="Aerova is not enabled">
        <source>Aerova is not enabled</source>
        <translation>Aerova ist nicht aktiviert</translation>
    </message>
    <message id="Connect">
        <source>Connect</source>
        <translation>Verbinden</translation>
    </message>
    <message id="Connect to a Server">
        <source>Connect to a Server</source>
        <translation>Mit einem Server verbinden</translation>
    </message>
    <message id="Connect to a Server…">
        <source>Connect to a Server…</source>
        <translation>Mit einem Server verbinden …</translation>
    </message>
    <message id="Server Address">
        <source>Server Address</source>
        <translation>Serveradresse</translation>
    </message>
    <message id="User Name">
        <source>User Name</source>
        <translation>Benutzername</translation>
    </message>
    <message id="Password">
        <source>Password</source>
        <translation>Passwort</translation>
    </message>
    <message id="Checking with the server…">
        <source>Checking with the server…</source>
        <translation>Anfrage beim Server …</translation>
    </message>
    <message id="The server could not be checked.">
        <source>The server could not be checked.</source>
        <translation>Der Server konnte nicht geprüft werden.</translation>
    </message>
    <message id="%1$@, %2$@">
        <source>%1$@, %2$@</source>
        <translation>%1$@, %2$@</translation>
    </message>
    <message id="App Folder">
        <source>App Folder</source>
        <translation>App-Ordner</translation>
    </message>
    <message id="not downloaded">
        <source>not downloaded</source>
        <translation>nicht geladen</translation>
    </message>
    <message id="Edit">
        <source>Edit</source>
        <translation>Bearbeiten</translation>
    </message>
    <message id="Share">
        <source>Share</source>
        <translation>Teilen</translation>
    </message>
    <message id="Back">
        <source>Back</source>
        <translation>Zurück</translation>
    </message>
    <message id="Upgrade Storage">
        <source>Upgrade Storage</source>
        <translation>Speicher erweitern</translation>
    </message>
    <message id="Choose a storage plan.">
        <source>Choose a storage plan.</source>
        <translation>Wähle einen Speicherplan.</translation>
    </message>
    <message id="Not Now">
        <source>Not Now</source>
        <translation>Nicht jetzt</translation>
    </message>
    <message id="50 GB">
        <source>50 GB</source>
        <translation>50 GB</translation>
    </message>
    <message id="200 GB">
        <source>200 GB</source>
        <translation>200 GB</translation>
    </message>
    <message id="2 TB">
        <source>2 TB</source>
        <translation>2 TB</translation>
    </message>
</context>
</TS>

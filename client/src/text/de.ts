// Die Texte der Seite auf Deutsch.
import type { Catalogue } from "./index.ts";

export const de: Catalogue = {
  // Everywhere
  "app.name": "Playlists",
  cancel: "Abbrechen",
  close: "Schließen",
  retry: "Noch einmal",
  undo: "Rückgängig",
  undone: "Rückgängig gemacht: {what}",
  redone: "Wiederholt: {what}",
  more: "Mehr",
  menu: "Menü",
  back: "Zurück",
  skip_to_content: "Zum Inhalt",
  "count.songs": { one: "{count} Titel", other: "{count} Titel" },
  "count.albums": { one: "{count} Album", other: "{count} Alben" },
  "count.selected": { one: "{count} ausgewählt", other: "{count} ausgewählt" },
  "drag.begins": "{what} wird gezogen. Escape legt alles zurück.",
  "error.unexpected": "In dieser Seite ist etwas schiefgegangen. Bitte neu laden.",
  "error.no_connection": "Keine Verbindung zum Server.",
  "error.server": "Der Server konnte das nicht tun ({status}).",
  "error.name_exists": "Es gibt schon eine Playlist mit diesem Namen.",
  "error.name_too_long": "Der Name ist zu lang.",
  "error.name_empty": "Bitte einen Namen geben.",
  "error.name_with_comma":
    "Eine Playlist mit einem Komma im Namen muss umbenannt werden, bevor sie gelöscht werden kann.",
  "error.not_done": "Nicht geschehen: {what}.",
  "error.not_found": "Unter dieser Adresse gibt es nichts.",

  // Logging in
  "login.name": "Name",
  "login.password": "Passwort",
  "login.submit": "Anmelden",
  "login.wrong": "Name oder Passwort ist falsch.",

  // The frame
  "frame.library": "Sammlung",
  "frame.lists": "Playlists",
  "frame.queue": "Warteschlange",
  "frame.navigation": "Navigation",
  "frame.player": "Wiedergabe",
  "frame.editor": "Playlist in Arbeit",
  "user.menu": "Konto von {name}",
  "user.log_out": "Abmelden",
  "user.log_out_everywhere": "Überall abmelden",
  "user.language": "Sprache",
  "user.theme_light": "Hell",
  "user.theme_dark": "Dunkel",
  "user.theme_auto": "Wie das Gerät",
  offline: "Keine Verbindung. Änderungen warten und werden gesendet, wenn sie zurück ist.",

  // Keys
  "keys.title": "Tasten",
  "keys.search": "Alles durchsuchen",
  "keys.move": "In einer Liste bewegen",
  "keys.select": "Mehrere auswählen",
  "keys.select_all": "Alles auswählen",
  "keys.open": "Abspielen oder öffnen",
  "keys.pause": "Wiedergabe oder Pause",
  "keys.add": "Zur offenen Playlist hinzufügen",
  "keys.add_to": "Zu einer anderen Playlist hinzufügen",
  "keys.remove": "Entfernen",
  "keys.reorder": "Nach oben oder unten",
  "keys.move_to": "An eine Position verschieben",
  "keys.rename": "Umbenennen",
  "keys.undo": "Rückgängig",
  "keys.redo": "Wiederholen",
  "keys.queue": "Warteschlange zeigen",
  "keys.help": "Alle Tasten",

  // Library
  "library.albums": "Alben",
  "library.artists": "Interpreten",
  "library.songs": "Titel",
  "library.genres": "Genres",
  "library.folders": "Ordner",
  "library.years": "Jahre",
  "library.title": "Titel",
  "library.artist": "Interpret",

  // Playlists

  // Editor
  "editor.added": {
    one: "{count} Titel zu {name} hinzugefügt",
    other: "{count} Titel zu {name} hinzugefügt",
  },
  "editor.removed": { one: "{count} Titel entfernt", other: "{count} Titel entfernt" },
  "editor.moved": { one: "{count} Titel verschoben", other: "{count} Titel verschoben" },
  "editor.too_many": "Eine Wiedergabeliste hat höchstens {count} Einträge. Nichts wurde geändert.",
  "editor.not_all_fit": {
    one: "{count} Eintrag ist nicht mehr in der Liste.",
    other: "{count} Einträge sind nicht mehr in der Liste.",
  },

  // Smart playlists

  // Playing

  // Queue
};

// The texts of the page in English: the catalogue that all others have the names from. A number `count` chooses
// the form of a text that has several.
import type { Text } from "./index.ts";

export const en = {
  // Everywhere
  "app.name": "Playlists",
  cancel: "Cancel",
  close: "Close",
  retry: "Try again",
  undo: "Undo",
  undone: "Undone: {what}",
  redone: "Done again: {what}",
  more: "More",
  menu: "Menu",
  back: "Back",
  skip_to_content: "Skip to content",
  "count.songs": { one: "{count} song", other: "{count} songs" },
  "count.albums": { one: "{count} album", other: "{count} albums" },
  "count.selected": { one: "{count} selected", other: "{count} selected" },
  "drag.begins": "Dragging {what}. Press Escape to put it back.",
  "error.unexpected": "Something went wrong in this page. Please load it again.",
  "error.no_connection": "No connection to the server.",
  "error.server": "The server could not do that ({status}).",
  "error.name_exists": "There is a playlist of that name already.",
  "error.name_too_long": "The name is too long.",
  "error.name_empty": "Please give it a name.",
  "error.name_with_comma": "A playlist with a comma in its name has to be renamed before it can be deleted.",
  "error.not_done": "Not done: {what}.",
  "error.not_found": "There is nothing at this address.",

  // Logging in
  "login.name": "Name",
  "login.password": "Password",
  "login.submit": "Log in",
  "login.wrong": "Name or password is wrong.",

  // The frame
  "frame.library": "Library",
  "frame.lists": "Playlists",
  "frame.queue": "Queue",
  "frame.navigation": "Navigation",
  "frame.player": "Player",
  "frame.editor": "Playlist in the editor",
  "user.menu": "Account of {name}",
  "user.log_out": "Log out",
  "user.log_out_everywhere": "Log out everywhere",
  "user.language": "Language",
  "user.theme_light": "Light",
  "user.theme_dark": "Dark",
  "user.theme_auto": "As the device says",
  offline: "No connection. Changes wait, and are sent when it is back.",

  // Keys
  "keys.title": "Keys",
  "keys.search": "Search everything",
  "keys.move": "Move in a list",
  "keys.select": "Select several",
  "keys.select_all": "Select all",
  "keys.open": "Play or open",
  "keys.pause": "Play or pause",
  "keys.add": "Add to the open playlist",
  "keys.add_to": "Add to another playlist",
  "keys.remove": "Remove",
  "keys.reorder": "Move up or down",
  "keys.move_to": "Move to a position",
  "keys.rename": "Rename",
  "keys.undo": "Undo",
  "keys.redo": "Do again",
  "keys.queue": "Show the queue",
  "keys.help": "All keys",

  // Library
  "library.albums": "Albums",
  "library.artists": "Artists",
  "library.songs": "Songs",
  "library.genres": "Genres",
  "library.folders": "Folders",
  "library.years": "Years",
  "library.title": "Title",
  "library.artist": "Artist",

  // Playlists

  // Editor
  "editor.added": { one: "Added {count} song to {name}", other: "Added {count} songs to {name}" },
  "editor.removed": { one: "Removed {count} song", other: "Removed {count} songs" },
  "editor.moved": { one: "Moved {count} song", other: "Moved {count} songs" },
  "editor.too_many": "A playlist has {count} entries at most. Nothing was changed.",
  "editor.not_all_fit": {
    one: "{count} entry is in the list no longer.",
    other: "{count} entries are in the list no longer.",
  },

  // Smart playlists

  // Playing

  // Queue
} satisfies Record<string, Text>;

import { render } from "preact";
import "./style/main.css";

render(<h1>Playlists</h1>, document.body);

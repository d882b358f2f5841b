"""What a request costs that does almost nothing, beside a program that does nothing."""

from ratio import Ratio


def measure():
    from server import ANNA, BIN, cgi_environment, lay_root, run

    lay_root()
    environment = {**cgi_environment(ANNA, b""), "REQUEST_METHOD": "GET",
                   "QUERY_STRING": "action=checkempty&playlist=musiclib_random"}
    ours, hello = run(BIN / "time_in_turn", 2000, BIN / "audio_playlist.cgi", BIN / "hello",
                      env=environment).split()
    yield Ratio("checkempty of the random playlist : a static C program", float(ours),
                float(hello), 2.0)

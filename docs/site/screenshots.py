"""Photographs pages of the site in a headless browser: screenshots.py HTML FOLDER [PAGE...]

Each page is shown from its top, at the widths of a desktop and of a phone, in light and in dark.
"""

import subprocess
import sys
import tempfile
from pathlib import Path

WIDTHS = {"desktop": 1280, "phone": 390}
HEIGHT = 2400
SCHEMES = {"dark": 0, "light": 1}
OPTIONS = [
    "--headless",
    "--no-sandbox",
    "--disable-gpu",
    "--disable-quic",
    "--no-first-run",
    "--disable-background-networking",
    "--disable-component-update",
    "--disable-sync",
    "--hide-scrollbars",
]


def photograph(page, picture, width, scheme):
    with tempfile.TemporaryDirectory() as profile:
        command = ["chromium", *OPTIONS, f"--user-data-dir={profile}", f"--window-size={width},{HEIGHT}"]
        command += [f"--blink-settings=preferredColorScheme={scheme}", f"--screenshot={picture}", page.as_uri()]
        subprocess.run(command, check=True, capture_output=True)


def main():
    html, folder = (Path(argument).resolve() for argument in sys.argv[1:3])
    for page in [html / f"{name}.html" for name in sys.argv[3:]] or sorted(html.glob("*.html")):
        if not page.exists():
            sys.exit(f"There is no page {page.name}; name pages as in the address, without .html.")
        for device, width in WIDTHS.items():
            for name, scheme in SCHEMES.items():
                picture = folder / f"{page.stem}-{device}-{name}.png"
                photograph(page, picture, width, scheme)
                print(picture)


main()

#!/usr/bin/python3
"""Stands in for the user's browser: shows one page, and does there what the user would.

    browser.py ADDRESS

Signs in where the page asks for that and hands the callback to the desktop. A recording in the page
is fetched into the session's folder.
"""

import html.parser
import http.cookiejar
import os
import pathlib
import subprocess
import sys
import urllib.error
import urllib.parse
import urllib.request

ACCOUNT = "zhou.min@example.org"


class Page(html.parser.HTMLParser):
    """The form of a page, and the recording in it."""

    def __init__(self, text):
        super().__init__()
        self.action = self.audio = None
        self.fields = {}
        self.feed(text)

    def handle_starttag(self, tag, attrs):
        attributes = dict(attrs)
        if tag == "form":
            self.action = attributes["action"]
        elif tag == "audio":
            self.audio = attributes["src"]
        elif tag == "input":
            typed = ACCOUNT if attributes["type"] == "email" else attributes["value"]
            self.fields[attributes["name"]] = typed


class NoRedirect(urllib.request.HTTPRedirectHandler):
    """A callback to a program is not fetched."""

    def redirect_request(self, *_):
        return None


def main():
    address = sys.argv[1]
    folder = pathlib.Path(os.environ["PARLOVANCE_SESSION"])
    cookies = http.cookiejar.LWPCookieJar(folder / "cookies")
    if (folder / "cookies").exists():
        cookies.load(ignore_discard=True)
    opener = urllib.request.build_opener(NoRedirect, urllib.request.ProxyHandler({}),
                                         urllib.request.HTTPCookieProcessor(cookies))
    with opener.open(address) as reply:
        page = Page(reply.read().decode())
    if page.action:
        form = urllib.parse.urlencode(page.fields).encode()
        try:
            opener.open(urllib.parse.urljoin(address, page.action), form).close()
        except urllib.error.HTTPError as answer:
            if answer.code != 303:
                raise
            cookies.save(ignore_discard=True)
            subprocess.run(["xdg-open", answer.headers["Location"]], check=True)
    if page.audio:
        part = folder / "fetched.part"
        with opener.open(urllib.parse.urljoin(address, page.audio)) as reply:
            part.write_bytes(reply.read())
        part.rename(folder / "fetched.m4a")


if __name__ == "__main__":
    main()

"""The timeline's page in a browser: what it shows of a real trace, a search, a click, keys, and that it loads nothing."""

import pathlib
import subprocess
import sys
import tempfile

from browser import Browser

TIMELINE, TEXT_HOST, REPOSITORY, CHROMIUM, DRIVER = sys.argv[1:]


def expect(condition, message):
    if not condition:
        raise AssertionError(message)


def make_page(folder):
    """A page of a trace of four threads, which ends in an error."""
    trace = folder / "trace"
    projects = [f"{REPOSITORY}/{name}" for name in ("foundation", "examples", "docs", "tests/timeline")]
    subprocess.run([TEXT_HOST, "--threads", "4", "--trace-file", trace, *projects], stdout=subprocess.DEVNULL,
                   stderr=subprocess.DEVNULL, check=False)
    subprocess.run([TEXT_HOST, "--trace-file", trace, "--misuse", "insert-twice"], stdout=subprocess.DEVNULL, check=True)
    page = folder / "page.html"
    subprocess.run([TIMELINE, "--html", page, trace], check=True)
    return page, trace.read_text().splitlines()


def count(browser, key):
    return int(browser.text(f"[data-count={key}] dd"))


def search(browser, text):
    browser.click_on("#search")
    browser.type(text)
    browser.type("Enter")


def selected(browser):
    """The heading of the details, and what stands below it."""
    return browser.run("const d = document.querySelector('#details'); if (!d.firstChild) return null;"
                       "const facts = {}; d.querySelectorAll('dt').forEach(e => facts[e.textContent] = "
                       "e.nextSibling.textContent); return [d.querySelector('h2').textContent, facts];")


def position_of_selection(browser):
    browser.run("document.querySelector('#view').scrollIntoView({block: 'center'})")
    browser.settle()
    return browser.run("const view = document.querySelector('#view'); const box = view.getBoundingClientRect();"
                       "const [x, y] = view.dataset.selection.split(' '); return [box.left + 1 + +x, box.top + +y];")


def test_counts(browser, records):
    expect(count(browser, "records") == len(records), "the page counts other records")
    entries = sum("[foundation::tav] 32 " in record for record in records)
    expect(count(browser, "operations") == entries, "the page counts other operations")
    expect(count(browser, "errors") == 1, "the page has not one error")


def test_search_and_click(browser):
    search(browser, "Zarn 1 insert ProjectIndex")
    expect(browser.text("#matches") == "1 of 1", f"found {browser.text('#matches')}")
    name, facts = found = selected(browser)
    expect(name == "Zarn insert ProjectIndex", f"selected {name}")
    expect((facts["context"], facts["type"]) == ("Zarn 1", "text_host::ProjectIndex"), f"with {facts}")

    x, y = position_of_selection(browser)
    browser.type("Escape")
    expect(selected(browser) is None, "Escape does not clear the selection")
    expect(browser.text("#matches") == "", "Escape does not clear the search")
    browser.click(x, y)
    expect(selected(browser) == found, f"a click selects {selected(browser)}")
    expect(browser.text("#tip").startswith("Zarn insert ProjectIndex\nthread: 1\n"), f"hovers {browser.text('#tip')}")


def test_matches_in_turn(browser):
    search(browser, "Workspace destroy")
    total = sum(1 for record in RECORDS if "] 32 " in record and "::destroy()" in record and "Workspace" in record)
    expect(browser.text("#matches").endswith(f" of {total}"), f"found {browser.text('#matches')}, not {total}")
    browser.click_on("#next")
    expect(browser.text("#matches") == f"2 of {total}", "the next match is not the second")
    browser.click_on("#previous")
    browser.click_on("#previous")
    expect(browser.text("#matches") == f"{total} of {total}", "before the first match is not the last")
    browser.type("Escape")
    search(browser, "thread 1 destroy Process")
    expect(browser.text("#matches") == "1 of 2", f"two Process contexts died, found {browser.text('#matches')}")
    search(browser, " no such thing")
    expect(browser.text("#matches") == "no match", "something was found")
    browser.type("Escape")


def test_lists(browser):
    expect(browser.text("#marks tbody td.error").startswith("error: State of type 'text_host::"), "no error is listed")
    browser.click_on("#marks tbody tr")
    expect(selected(browser)[0].startswith("error: State of type"), "the error was not selected")
    first = browser.text("#teardown tbody tr")
    browser.run("const order = document.querySelector('#teardownOrder'); order.value = 'took';"
                "order.dispatchEvent(new Event('change'))")
    expect(browser.text("#teardown tbody tr") != first, "the order of the teardown does not change")
    browser.click_on("#teardown tbody tr")
    expect("deletion took" in selected(browser)[1] or "destruction took" in selected(browser)[1], "nothing died")
    browser.click_on("#details button.jump")
    expect("lived" in selected(browser)[1], "the context was not selected")


def test_keys(browser):
    browser.type("Escape")
    pixels = "return document.querySelector('#lanes').toDataURL()"
    browser.type("0")
    whole = browser.run(pixels)
    browser.type("+")
    zoomed = browser.run(pixels)
    browser.type("ArrowRight")
    moved = browser.run(pixels)
    browser.type("0")
    expect(len({whole, zoomed, moved}) == 3, "a key does nothing")
    expect(browser.run(pixels) == whole, "0 does not show the whole trace again")


def test_width(browser):
    wide = browser.run("return document.documentElement.scrollWidth - window.innerWidth")
    expect(wide <= 0, f"the page is {wide} pixels too wide")


with tempfile.TemporaryDirectory() as name:
    PAGE, RECORDS = make_page(pathlib.Path(name))
    for width, height in ((1280, 1000), (500, 850)):
        browser = Browser(DRIVER, CHROMIUM, width, height)
        try:
            browser.open(PAGE)
            browser.settle()
            test_counts(browser, RECORDS)
            test_width(browser)
            test_search_and_click(browser)
            test_matches_in_turn(browser)
            test_lists(browser)
            test_keys(browser)
            expect(browser.complaints() == [], f"the page complains: {browser.complaints()}")
        finally:
            browser.close()

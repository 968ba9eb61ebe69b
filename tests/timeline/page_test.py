"""The timeline's page in a browser: what it shows of a real trace, a search, a click, keys, and that it loads nothing;
and what it shows of a recorded teardown."""

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


def teardown_trace():
    """A Zarn context dies with three states: the newest is looked for twice by the next one's deleter; the last is slow."""
    scope = "foundation::tav::scope::Zarn"
    delete = "static void (anonymous namespace)::InstanceManager::erase(std::uint64_t, StatePtr &&)"
    records = []

    def add(severity, depth, message):
        time = f"2026-11-21T02:14:10.{1000 * len(records):06}Z"
        records.append(f"{time} 1 [foundation::tav] {severity} {'  ' * depth}{message}")

    def call(depth, signature, details):
        add(32, depth, f"{signature}  {details}")
        add(64, depth, signature)

    def member(text):
        return f"(anonymous namespace)::ContextImpl<{scope}>::{text} [Scope = {scope}]"

    call(0, member("ContextImpl()"), "this=0xb0")
    for number, name in enumerate(("Cache", "Index", "Logger")):
        call(0, member("insert()"), f"typeID={number} getName(type)=host::{name} this=0xb0")
    add(32, 0, member("destroy()") + "  this=0xb0")
    call(1, member("releaseParentNoLock()"), "this=0xb0")
    call(1, delete, "typeID=2")
    call(1, delete, "typeID=1")
    for _ in range(2):
        add(16, 1, f"late find  scope={scope}  id=2  context=0xb0  by  scope={scope}  id=1")
    call(1, delete, "typeID=0")
    add(16, 1, f"slow deletion  scope={scope}  id=0  context=0xb0  microseconds=1000  limit=500")
    add(64, 0, member("destroy()"))
    return records


def make_teardown_page(folder):
    (folder / "teardown").write_text("".join(record + "\n" for record in teardown_trace()))
    page = folder / "teardown.html"
    subprocess.run([TIMELINE, "--html", page, folder / "teardown"], check=True)
    return page


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


def color_at(browser, x, y):
    """The colour of the lanes at a position of the window, as it stands in the style."""
    return browser.run("const canvas = document.querySelector('#lanes'); const box = canvas.getBoundingClientRect();"
                       "const scale = canvas.width / box.width; const [x, y] = arguments;"
                       "const data = canvas.getContext('2d').getImageData((x - box.left) * scale, (y - box.top) * scale, 1, 1).data;"
                       "return '#' + [...data.slice(0, 3)].map(part => part.toString(16).padStart(2, '0')).join('')", x, y)


def test_nothing_was_late(browser):
    expect(browser.text("#marksHeading") == "errors and exceptions", f"the list has {browser.text('#marksHeading')}")
    expect("late" not in browser.text("#legend"), "the legend tells of late uses")
    shown = "return getComputedStyle(document.querySelector('[data-count=lateUses]')).display"
    expect(browser.run(shown) == "none", "no late use is counted")


def test_teardown(browser):
    expect((count(browser, "lateUses"), count(browser, "slowDeletions")) == (2, 1), "the page counts others")
    expect(browser.text("#marksHeading") == "late uses and slow deletions", f"the list has {browser.text('#marksHeading')}")
    expect("late use of a deleted statedeletion over the limit" in browser.text("#legend"), "the legend lacks something")
    late = ("late use: the deleter of host::Index of Zarn 1 looked for host::Logger in Zarn 1, "
            "where it had already been deleted")
    expect(browser.text("#marks tbody td.late") == late, f"listed is {browser.text('#marks tbody td.late')}")
    slow = "slow deletion: host::Cache of Zarn 1 took 1 ms; the limit is 500 µs"
    expect(browser.text("#marks tbody td.slow") == slow, f"listed is {browser.text('#marks tbody td.slow')}")
    rows = browser.run("return [...document.querySelectorAll('#teardown tbody tr')].map(row => row.cells[2].innerText)")
    expect(rows == ["Zarn 1", "host::Logger", "host::Index2 late uses", "host::Cacheover the limit"], f"died {rows}")


def test_late_marks(browser):
    for word, matches, look, above, state in (("late", 2, "late", 0, "Index"), ("slow", 1, "slow", 4, "Cache")):
        search(browser, word)
        expect(browser.text("#matches") == f"1 of {matches}", f"found {browser.text('#matches')} for {word}")
        name, facts = found = selected(browser)
        expect(name.startswith(f"{word} ") and facts["deleted"] == state, f"selected {name} with {facts}")
        x, y = position_of_selection(browser)
        browser.type("Escape")
        expect(color_at(browser, x, y - above) == browser.run(
            "return getComputedStyle(document.documentElement).getPropertyValue(arguments[0]).trim()", f"--{look}"),
               f"the mark has the colour {color_at(browser, x, y - above)}")
        browser.click(x, y)
        expect(selected(browser) == found, f"a click selects {selected(browser)}")
        browser.click_on("#details button.jump")
        name, facts = selected(browser)
        expect(name == state and state in facts["in its deletion"], f"led to {name} with {facts}")
        browser.type("Escape")


def test_width(browser):
    wide = browser.run("return document.documentElement.scrollWidth - window.innerWidth")
    expect(wide <= 0, f"the page is {wide} pixels too wide")


with tempfile.TemporaryDirectory() as name:
    PAGE, RECORDS = make_page(pathlib.Path(name))
    TEARDOWN_PAGE = make_teardown_page(pathlib.Path(name))
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
            test_nothing_was_late(browser)
            browser.open(TEARDOWN_PAGE)
            browser.settle()
            test_width(browser)
            test_teardown(browser)
            test_late_marks(browser)
            expect(browser.complaints() == [], f"the page complains: {browser.complaints()}")
        finally:
            browser.close()

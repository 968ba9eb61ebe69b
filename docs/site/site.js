// Marks the page in the navigation, and finds pages and symbols by parts of their names. Without it the site is whole but
// for the search.

const page = location.pathname.split("/").pop() || "index.html";
for (const link of document.querySelectorAll("nav.site > a"))
    if (link.getAttribute("href") === page) link.setAttribute("aria-current", "page");

const search = document.getElementById("search");
const found = document.getElementById("found");

// Those that begin with the text come before those that contain it, short names before long ones.
function matches(text) {
    const rank = ([name]) => (name.toLowerCase().startsWith(text) ? 0 : 1000) + name.length;
    return symbols
        .filter(([name, place]) => `${place}::${name}`.toLowerCase().includes(text))
        .sort((a, b) => rank(a) - rank(b))
        .slice(0, 12);
}

search.addEventListener("input", () => {
    const text = search.value.trim().toLowerCase();
    found.replaceChildren(
        ...(text ? matches(text) : []).map(([name, place, where]) => {
            const entry = document.createElement("li");
            const link = document.createElement("a");
            const label = document.createElement("small");
            link.href = where;
            link.textContent = name;
            label.textContent = place;
            link.append(label);
            entry.append(link);
            return entry;
        }),
    );
});
search.addEventListener("keydown", (event) => {
    if (event.key === "Enter" && found.firstChild) location.href = found.querySelector("a").href;
});

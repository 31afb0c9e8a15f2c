// The browser client: shows repositories and folders in place, one listing of the server at a time.
// The folder on show is in the fragment of the address, so that links, reload and "back" work.
"use strict";

// `root` is the address of the list of repositories, with a slash at its end.
function startSvnWebClient(root) {
  const view = document.getElementById("client");
  const rootUrl = new URL(root, location.origin);

  // The address of the folder on show, null where the fragment leads out of the repositories.
  function currentUrl() {
    const path = location.hash.replace(/^#\/*/, "");
    const url = new URL(path ? "./" + path : "", rootUrl);
    return url.href.startsWith(rootUrl.href) ? url : null;
  }

  function fragmentOf(url) {
    return "#/" + url.href.slice(rootUrl.href.length);
  }

  function element(tag, text, className) {
    const made = document.createElement(tag);
    if (text !== undefined) made.textContent = text;
    if (className) made.className = className;
    return made;
  }

  // The page may be a file that somebody committed: an address outside of the repositories, such as
  // a script, must not get into this page, which is not sandboxed.
  function link(url, text) {
    if (!url.href.startsWith(rootUrl.href)) return element("span", text);
    const made = element("a", text);
    made.href = url.pathname.endsWith("/") ? fragmentOf(url) : url.href;
    return made;
  }

  function showNotice(text) {
    view.replaceChildren(link(rootUrl, "Repositories"), element("p", text, "notice"));
  }

  // Takes only names and addresses out of the page: nothing of it is put on show as markup.
  function show(page, url) {
    const listing = page.querySelector(".listing");
    if (!listing) return showNotice("The server did not answer with a listing.");
    const resolve = (a) => new URL(a.getAttribute("href"), url);
    const trail = element("nav");
    for (const step of page.querySelectorAll("nav a")) {
      if (trail.firstChild) trail.append(" / ");
      trail.append(link(resolve(step), step.textContent));
    }
    const list = element("ul", undefined, "listing");
    for (const entry of listing.querySelectorAll("li")) {
      const a = entry.querySelector("a");
      const row = element("li", undefined, entry.className);
      row.append(link(resolve(a), a.textContent));
      list.append(row);
    }
    const parts = [trail, element("h1", page.querySelector("h1").textContent)];
    for (const line of page.querySelectorAll(".revision")) {
      parts.push(element("p", line.textContent, "revision"));
    }
    parts.push(list);
    for (const line of page.querySelectorAll(".empty")) {
      parts.push(element("p", line.textContent, "empty"));
    }
    view.replaceChildren(...parts);
    document.title = page.title;
  }

  async function refresh() {
    const url = currentUrl();
    if (!url) return showNotice("This address is not in a repository of this server.");
    const refusals = {
      401: "The server did not accept your name and password.",
      403: "You may not see this folder.",
      404: "There is no such folder.",
    };
    try {
      const answer = await fetch(url.href, { headers: { Accept: "text/html" } });
      const text = await answer.text();
      // A slower answer to an earlier click must not replace what was asked for since.
      if (currentUrl()?.href !== url.href) return;
      if (!answer.ok) {
        return showNotice(refusals[answer.status] || "The server answered " + answer.status + ".");
      }
      show(new DOMParser().parseFromString(text, "text/html"), url);
    } catch (error) {
      showNotice("The server cannot be reached: " + error.message);
    }
  }

  addEventListener("hashchange", refresh);
  refresh();
}

// Notes that try to run code run nothing, and every page outlives the web process.
#include "integration/NotePage.h"

#include "integration/Processes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace marrowleaf;
using namespace marrowleaf::testing;
namespace fs = std::filesystem;

// ---------------------------------------------------------------- notes that try to run code

namespace {

// Note texts that would run a script, post a message or navigate if the page
// ever treated a note as markup. Each one that succeeded would set
// window.__pwned or post "close".
const std::vector<std::string> injections = {
    R"x(<script>window.__pwned = 1</script>)x",
    R"x(<img src=x onerror="window.__pwned = 2">)x",
    R"x(<svg onload="window.__pwned = 3"></svg>)x",
    R"x(<svg><script>window.__pwned = 4</script></svg>)x",
    R"x(<iframe src="javascript:parent.__pwned = 5"></iframe>)x",
    R"x(<iframe srcdoc="<script>parent.__pwned = 6</script>"></iframe>)x",
    R"x(<a href="javascript:window.__pwned = 7">raw link</a>)x",
    R"x([md link](javascript:window.__pwned=8))x",
    R"x([mixed case](JaVaScRiPt:window.__pwned=9))x",
    R"x([entity](&#106;avascript:window.__pwned=10))x",
    R"x([tab](java&#x09;script:window.__pwned=11))x",
    R"x([colon entity](javascript&colon;window.__pwned=12))x",
    R"x(![md image](javascript:window.__pwned=13))x",
    R"x(![quote break](x" onerror="window.__pwned=14))x",
    R"x([data html](data:text/html,<script>parent.__pwned=15</script>))x",
    R"x([data base64](data:text/html;base64,PHNjcmlwdD5wYXJlbnQuX19wd25lZD0xNjwvc2NyaXB0Pg==))x",
    R"x(![svg data image](data:image/svg+xml,<svg onload="parent.__pwned=17"/>))x",
    R"x(<a href="data:text/html,<script>parent.__pwned=18</script>">data link</a>)x",
    R"x(<body onload="window.__pwned = 19">)x",
    R"x(<details open ontoggle="window.__pwned = 20">x</details>)x",
    R"x(<input autofocus onfocus="window.__pwned = 21">)x",
    R"x(<style>@import "javascript:window.__pwned = 22";</style>)x",
    R"x(<object data="javascript:window.__pwned = 23"></object>)x",
    R"x(<embed src="javascript:window.__pwned = 24">)x",
    R"x(<math><mtext><table><mglyph><style><img src=x onerror="window.__pwned = 25">)x",
    R"x(<noscript><p title="</noscript><img src=x onerror=window.__pwned=26>">)x",
    R"x(<form action="javascript:window.__pwned = 27"><button>go</button></form>)x",
    R"x(<meta http-equiv="refresh" content="0;url=javascript:window.__pwned = 28">)x",
    "<base href=\"javascript:window.__pwned=29//\">\n\n[relative](/path)x",
    R"x([vb](vbscript:msgbox(30)))x",
    "`<script>window.__pwned = 31</script>`",
    R"x(<div style="background:url(javascript:window.__pwned=32)">styled</div>)x",
    "[ref link][evil]\n\n[evil]: javascript:window.__pwned=33",
    R"x(<javascript:window.__pwned=34>)x",
    R"x(https://example.org/"><script>window.__pwned = 35</script>)x",
    R"x(<img src=x onerror="window.webkit.messageHandlers.sticky.postMessage({t: 'close'})">)x",
    R"x(<svg><a xlink:href="javascript:window.__pwned = 37"><text x="20" y="20">svg link</text></a></svg>)x",
    R"x(</script><script>window.__pwned = 38</script>)x",
    R"x(<!--<script>window.__pwned = 39</script>-->)x",
    R"x("]}</script><script>window.__pwned = 40</script>)x",
    "line\u2028window.__pwned = 41\u2029",
    R"x(<a href="&#x6A;avascript:window.__pwned = 42">hex entity</a>)x",
    R"x(<template><script>window.__pwned = 43</script></template>)x",
    R"x(<link rel="stylesheet" href="data:text/css,*{}"><img src="x" onerror="window.__pwned = 44">)x",
    "- [ ] <img src=x onerror=\"window.__pwned = 45\">",
    R"x(> <iframe src="javascript:parent.__pwned = 46"></iframe>)x",
    R"x([link](https://example.org/" onclick="window.__pwned=47))x",
    R"x(![image](https://example.org/x.png" onload="window.__pwned=48))x",
    R"x(<a href="https://example.org/" onclick="window.__pwned = 49">plain link with a handler</a>)x",
    R"x(__CONTENT__ __BG__ </script><script>window.__pwned = 50</script>)x",
};

// What an injected note left behind in the page: a global, an element that
// runs code or navigates, an event handler, or a link that isn't a web, mail
// or file address.
const std::string leftovers = "(() => {\n  const view = " + byId(element::view) + ";" + R"js(
  const found = [];
  if (typeof window.__pwned !== 'undefined') found.push('global ' + window.__pwned);
  const active = ['script', 'iframe', 'object', 'embed', 'svg', 'math', 'style', 'link', 'meta', 'base', 'form',
                  'frame', 'frameset', 'template', 'noscript', 'body', 'button', 'details'];
  for (const e of view.querySelectorAll('*')) {
    const tag = e.tagName.toLowerCase();
    if (active.includes(tag)) found.push('element ' + tag);
    for (const a of e.attributes) {
      if (a.name.startsWith('on')) found.push('handler ' + a.name);
      const safeImage = tag === 'img' && a.name === 'src' && /^data:image\/(gif|png|jpeg|webp);/i.test(a.value);
      if (/^\s*(javascript|vbscript|data):/i.test(a.value) && !safeImage) found.push('address ' + a.value);
    }
  }
  for (const a of view.querySelectorAll('a[href]'))
    if (!/^(https?|mailto|file):$/.test(a.protocol)) found.push('link ' + a.href);
  if (document.querySelectorAll('script').length !== 2) found.push('scripts ' + document.querySelectorAll('script').length);
  return found;
})())js";

// Hovers, focuses and clicks everything the note shows, as a curious person would.
const std::string poke = "(() => {\n  const view = " + byId(element::view) + ";" + R"js(
  for (const e of view.querySelectorAll('*')) {
    for (const type of ['mouseover', 'mouseenter', 'mousemove', 'focus', 'animationstart', 'toggle'])
      e.dispatchEvent(new Event(type, { bubbles: true }));
  }
  for (const a of view.querySelectorAll('a')) a.click();
  return true;
})())js";

}

TEST_F(NotePage, aNoteThatTriesToRunCodeShowsAsTextAndRunsNothing) {
    ASSERT_GE(injections.size(), 30u);
    std::vector<StickyController*> opened;
    for (const auto& text : injections)
        opened.push_back(&open(text));
    for (std::size_t i = 0; i < opened.size(); ++i)
        ASSERT_TRUE(loaded(*opened[i])) << injections[i];
    settle(500ms);   // images fail, timers run out
    for (std::size_t i = 0; i < opened.size(); ++i) {
        EXPECT_EQ(run(*opened[i], leftovers), json::array()) << injections[i];
        run(*opened[i], poke);
    }
    settle(500ms);
    for (std::size_t i = 0; i < opened.size(); ++i) {
        EXPECT_EQ(run(*opened[i], "typeof window.__pwned"), "undefined") << injections[i];
        EXPECT_STREQ(webkit_web_view_get_uri(view(*opened[i])), "about:blank") << injections[i];
    }
    for (const auto& m : received) {
        EXPECT_TRUE(m.type == "bar" || m.type == "link") << m.body.dump();
        if (m.type == "link") {
            EXPECT_THAT(m.body[page::field::url].get<std::string>(),
                        ::testing::StartsWith("https://example.org/"));
        }
    }
}

TEST_F(NotePage, textThatTriesToRunCodeArrivingFromTheFileRunsNothing) {
    StickyController& note = openLoaded("start");
    for (const auto& text : injections) {
        note.sendContent(text);
        run(note, poke);
    }
    settle(500ms);
    note.sendContent(injections.front());
    settle(200ms);
    EXPECT_EQ(run(note, leftovers), json::array());
    EXPECT_EQ(run(note, "typeof window.__pwned"), "undefined");
    EXPECT_STREQ(webkit_web_view_get_uri(view(note)), "about:blank");
    for (const auto& m : received)
        EXPECT_TRUE(m.type == "bar" || m.type == "link") << m.body.dump();
}

TEST_F(NotePage, pastedTextThatTriesToRunCodeStaysText) {
    StickyController& note = openLoaded("", defaultRecord(), true);
    std::string all;
    for (const auto& text : injections)
        all += text + "\n";
    note.sendPaste(all);
    ASSERT_TRUE(waitForSave(all));
    run(note, byId(element::editor) + ".blur()");
    run(note, poke);
    settle(500ms);
    EXPECT_EQ(run(note, leftovers), json::array());
    for (const auto& m : received)
        EXPECT_TRUE(m.type == "bar" || m.type == "link" || m.type == "save") << m.body.dump();
}

// ---------------------------------------------------------------- the web process

TEST_F(NotePage, allNotesShareOneWebProcess) {
    for (int i = 0; i < 4; ++i)
        openLoaded("note " + std::to_string(i), recordAt({100.0 + 60 * i, 100, 260, 220}));
    EXPECT_EQ(webProcesses().size(), 1u);
}

TEST_F(NotePage, whenTheWebProcessDiesEveryPageComesBackWithinASecondWithItsCurrentText) {
    support::LogCapture log;
    StickyController& first = openLoaded("# first note");
    StickyController& second = openLoaded("second note", recordAt({500, 150, 260, 220}, "pink"));
    second.content = "second note, saved since";
    second.sendColor(StickyColor::named("green"));
    const auto processes = webProcesses();
    ASSERT_EQ(processes.size(), 1u);

    const auto killedAt = SteadyClock::now();
    ASSERT_EQ(kill(processes[0], SIGKILL), 0);
    ASSERT_TRUE(
        runMainContextUntil([&] { return log.count("ERROR the note pages' web process crashed") == 1; }));
    ASSERT_TRUE(runMainContextUntil([&] { return started(first) && started(second); }, 5s));
    const auto back = std::chrono::duration_cast<std::chrono::milliseconds>(SteadyClock::now() - killedAt);
    EXPECT_LT(back.count(), 1000) << "the pages took " << back.count() << " ms to come back";

    // Rendered again too: the Markdown page came back with them.
    EXPECT_EQ(
        run(first, "document.querySelector('" + selector(element::view, "h1") + "')?.textContent ?? null"),
        "first note");
    EXPECT_EQ(run(second, byId(element::view) + ".innerText.trim()"), "second note, saved since");
    EXPECT_EQ(run(second, "getComputedStyle(" + byId(element::note) + ").backgroundColor"),
              "rgb(212, 245, 207)");
    EXPECT_THAT(log.lines(),
                ::testing::Contains("ERROR the note pages' web process crashed; reloading 2 note pages"));
    EXPECT_EQ(webProcesses().size(), 1u);
}

TEST_F(NotePage, aPageThatCameBackStillTalksToTheApp) {
    StickyController& note = openShown("x");
    const auto processes = webProcesses();
    ASSERT_EQ(processes.size(), 1u);
    kill(processes[0], SIGKILL);
    ASSERT_TRUE(runMainContextUntil([&] { return webProcesses() != processes && started(note); }));
    received.clear();
    ASSERT_TRUE(click(note, selector(element::pinButton)));
    EXPECT_TRUE(waitForMessage(page::message::pin));
}

"""Ways to hide text in HTML, and to lay it out: what a person sees of each, and what not."""
import collections

Row = collections.namedtuple("Row", "name html seen hidden")
MATRIX = []


def add(name, html, seen=("SEEN",), hidden=()):
    MATRIX.append(Row(name, html, tuple(seen), tuple(hidden)))


def hides(name, html):
    add(name, "<p>SEEN</p>" + html, ("SEEN",), ("HIDDEN",))


def styled(style):
    hides(f"style {style}", f'<div style="{style}">HIDDEN</div>')


for STYLE in ("display:none", "DISPLAY: NONE", "display:none !important", "display : none ;", "color:red;display:none",
              "dis\\70 lay:none", "display:/**/none", "display:no\\6e e", "visibility:hidden", "visibility:collapse",
              "opacity:0", "opacity:0.0", "opacity:0%", "opacity:.01", "font-size:0", "font-size:0px", "font-size:0em",
              "font-size:1px", "font:0/0 a", "font:0px Arial", "font-size:0%", "color:#fff", "color:#FFFFFF", "color:white",
              "color:rgb(255,255,255)", "color:rgb(255 255 255)", "color:rgba(0,0,0,0)", "color:transparent",
              "color:hsl(0,0%,100%)", "color:#fffffe", "color:#00000000", "color:rgb(100%,100%,100%)",
              "color:#fdfdfd", "background:#000;color:#000", "background-color:black;color:black",
              "background:red;color:#f00", "height:0;overflow:hidden", "max-height:0;overflow:hidden",
              "max-height:0px;overflow:hidden;mso-hide:all", "width:0;overflow:hidden", "height:1px;overflow:hidden",
              "max-width:0;max-height:0;overflow:hidden", "height:0;overflow:auto", "height:0;overflow-y:hidden",
              "position:absolute;left:-9999px", "position:absolute;top:-9999px", "position:fixed;left:-9999px",
              "position:relative;left:-9999px", "position:absolute;left:-100em", "text-indent:-9999px",
              "margin-left:-9999px", "margin:0 0 0 -9999px", "margin-top:-5000px",
              "position:absolute;clip:rect(0,0,0,0)", "position:absolute;clip:rect(1px,1px,1px,1px)",
              "position:absolute;clip:rect(0 0 0 0)", "clip-path:inset(50%)", "clip-path:inset(100%)",
              "clip-path:circle(0)", "transform:scale(0)", "transform:translateX(-9999px)",
              "transform:translate(-9999px,0)", "position:absolute;width:1px;height:1px;overflow:hidden"):
    styled(STYLE)

for NAME, HTML in (
        ("attribute hidden", "<div hidden>HIDDEN</div>"),
        ("attribute hidden with a value", "<div hidden=until-found>HIDDEN</div>"),
        ("inside a hidden element", "<div style=display:none><p><b>HIDDEN</b></p></div>"),
        ("a block in a hidden inline element", "<span style=display:none><div>HIDDEN</div></span>"),
        ("font of the colour of the ground", "<font color=white>HIDDEN</font>"),
        ("font without a sign", "<font color=ffffff>HIDDEN</font>"),
        ("a cell of the colour of its ground", "<table bgcolor=#000000><tr><td><font color=black>HIDDEN</font></table>"),
        ("a row with a ground", "<table><tr bgcolor=navy><td style='color:navy'>HIDDEN</table>"),
        ("the ground of an element around", "<div style=background:#123456><p><span style=color:#123456>HIDDEN</span></p></div>"),
        ("comment", "<!-- HIDDEN -->"),
        ("conditional comment", "<!--[if mso]><p>HIDDEN</p><![endif]-->"),
        ("bogus comment", "<!HIDDEN>"),
        ("processing instruction", "<?HIDDEN?>"),
        ("script", "<script>HIDDEN</script>"),
        ("style", "<style>HIDDEN{}</style>"),
        ("template", "<template>HIDDEN</template>"),
        ("title", "<title>HIDDEN</title>"),
        ("title inside a drawing", "<svg><title>HIDDEN</title></svg>"),
        ("text inside a drawing", "<svg><text>HIDDEN</text></svg>"),
        ("object", "<object>HIDDEN</object>"),
        ("video", "<video>HIDDEN</video>"),
        ("audio", "<audio>HIDDEN</audio>"),
        ("canvas", "<canvas>HIDDEN</canvas>"),
        ("iframe", "<iframe>HIDDEN</iframe>"),
        ("noframes", "<noframes>HIDDEN</noframes>"),
        ("noembed", "<noembed>HIDDEN</noembed>"),
        ("hidden input", "<input type=hidden value=HIDDEN>"),
        ("datalist", "<datalist><option>HIDDEN</datalist>"),
        ("dialog that is closed", "<dialog>HIDDEN</dialog>"),
        ("picture of one pixel", "<img width=1 height=1 alt=HIDDEN src=http://example.net/x>"),
        ("attribute title", "<span title=HIDDEN>x</span>"),
        ("aria label", "<span aria-label=HIDDEN>x</span>"),
        ("data attribute", "<span data-x=HIDDEN>x</span>"),
        ("letters that nobody sees", "<p>x" + "".join(f"&#{0xE0000 + ord(c)};" for c in "HIDDEN") + "y</p>"),
        ("indent of an element around", "<div style=text-indent:-9999px><p>HIDDEN</p></div>"),
        ("size of an element around", "<div style=font-size:0><p>HIDDEN</p></div>"),
        ("transparency of two elements", "<div style=opacity:.2><p style=opacity:.2>HIDDEN</p></div>"),
        ("visible inside what is not displayed", "<div style=display:none><p style='display:block;visibility:visible'>HIDDEN</div>"),
        ("preheader", "<div style='display:none;font-size:1px;color:#fefefe;line-height:1px;max-height:0;max-width:0;"
                      "opacity:0;overflow:hidden'>HIDDEN &zwnj;&nbsp;&zwnj;&nbsp;</div>")):
    hides(NAME, HTML)

for SELECTOR, HTML in (
        (".h", "<p class=h>HIDDEN"), ("#h", "<p id=h>HIDDEN"), ("p.h", "<p class='a h b'>HIDDEN"), ("i", "<i>HIDDEN</i>"),
        ("div .h", "<div><p><b class=h>HIDDEN"), ("div > .h", "<div><p class=h>HIDDEN"),
        ("b + i", "<b>x</b><i>HIDDEN"), ("b ~ i", "<b>x</b><u>y</u><i>HIDDEN"), ("[lang=xx]", "<p lang=xx>HIDDEN"),
        ("[class^=pre]", "<p class=preheader>HIDDEN"), ("[class*=head]", "<p class=preheader>HIDDEN"),
        ("[class$=er]", "<p class=preheader>HIDDEN"), ("[class~=h]", "<p class='a h'>HIDDEN"),
        ("[title]", "<p title=x>HIDDEN"), ("i:first-child", "<div><i>HIDDEN</i></div>"),
        ("i:last-child", "<div><b>x</b><i>HIDDEN</i></div>"), ("i:nth-child(2)", "<div><b>x</b><i>HIDDEN</i></div>"),
        ("i:nth-child(odd)", "<div><i>HIDDEN</i></div>"), (".a,.h,.b", "<p class=h>HIDDEN"), ("p.\\68", "<p class=h>HIDDEN"),
        ("body .h", "<p class=h>HIDDEN"), ("html .h", "<p class=h>HIDDEN"), ("*.h", "<p class=h>HIDDEN"),
        ("P.h", "<p class=h>HIDDEN"), (".x::before, .h", "<p class=h>HIDDEN")):
    hides(f"selector {SELECTOR}", f"<style>{SELECTOR} {{display:none}}</style>{HTML}")

for QUERY in ("all", "screen", "only screen", "screen and (min-width:600px)", "not print", "print, screen",
              "(max-width: 5000px)"):
    hides(f"media {QUERY}", f"<style>@media {QUERY} {{ .h {{ display:none }} }}</style><p class=h>HIDDEN")

for NAME, HTML, SEEN in (
        ("plain", "SEEN", None),
        ("a box centred by its margin", "<div style='position:absolute;left:50%;width:960px;margin-left:-480px'>SEEN</div>", None),
        ("a box centred by a shift", "<div style='position:absolute;left:50%;top:50%;transform:translate(-50%,-50%)'>SEEN</div>", None),
        ("a box that is at least so wide", "<div style='width:1px;min-width:100%;overflow:hidden'>SEEN</div>", None),
        ("a box that is at least so high", "<div style='height:0;min-height:20px;overflow:hidden'>SEEN</div>", None),
        ("hidden and shown again by a later rule", "<style>.h{display:none}.h{display:block}</style><p class=h>SEEN", None),
        ("specificity", "<style>p.h{display:block}.h{display:none}</style><p class=h>SEEN", None),
        ("important", "<style>.h{display:block!important}</style><p class=h style=display:none>SEEN", None),
        ("inline wins", "<style>.h{display:none}</style><p class=h style=display:block>SEEN", None),
        ("visible inside what is invisible", "<div style=visibility:hidden><p style=visibility:visible>SEEN</div>", None),
        ("size inside no size", "<div style=font-size:0><p style=font-size:16px>SEEN</div>", None),
        ("white on black", "<div style='background:#000;color:#fff'>SEEN</div>", None),
        ("white on a picture", "<div style='background:url(cid:x);color:#fff'>SEEN</div>", None),
        ("white on a gradient", "<div style='background:linear-gradient(red,blue);color:#fff'>SEEN</div>", None),
        ("white on a cell", "<table><tr><td bgcolor=blue><font color=white>SEEN</table>", None),
        ("white on a body", "<body bgcolor=black text=white>SEEN", None),
        ("white link is blue", "<div style=color:#fff><a href=http://x.example>SEEN</a></div>", None),
        ("media of another width", "<style>@media (max-width:600px){.h{display:none}}</style><p class=h>SEEN", None),
        ("media of paper", "<style>@media print{.h{display:none}}</style><p class=h>SEEN", None),
        ("media of a dark screen", "<style>@media (prefers-color-scheme:dark){.h{display:none}}</style><p class=h>SEEN", None),
        ("hover", "<style>.h:hover{display:none}</style><p class=h>SEEN", None),
        ("a rule of another class", "<style>.x{display:none}</style><p class=xy>SEEN", None),
        ("a child that is none", "<style>div>.h{display:none}</style><div><p><b class=h>SEEN", None),
        ("no height but not clipped", "<div style=height:0>SEEN</div>", None),
        ("hidden attribute overridden", "<p hidden style=display:block>SEEN", None),
        ("half transparent", "<p style=opacity:.5>SEEN", None),
        ("small but legible", "<p style=font-size:7px>SEEN", None),
        ("indented a little", "<p style=text-indent:-20px>SEEN", None),
        ("grey on white", "<p style=color:#ccc>SEEN", None),
        ("unclosed comment-like text", "<p>SEEN</p><p>1 <2 and 3 > 2", None),
        ("noscript", "<noscript>SEEN</noscript>", None),
        ("details", "<details open><summary>a</summary>SEEN</details>", None),
        ("form", "<form><label>SEEN</label><input></form>", None),
        ("button", "<button>SEEN</button>", None),
        ("references", "<p>Caf&eacute; &laquo;x&raquo; &#8364; &hearts; &NotEqualTilde;", ("Café", "«x»", "€", "♥")),
        ("inline elements join", "<b>SE</b><i>EN</i>", None),
        ("blocks do not", "<div>SEEN</div><div>two</div>", ("SEEN two",)),
        ("line breaks do not", "SEEN<br>two", ("SEEN two",)),
        ("cells do not", "<table><tr><td>SEEN<td>two</table>", ("SEEN two",)),
        ("inline blocks do not", "<span style=display:inline-block>SEEN</span> <span style=display:inline-block>two</span>", ("SEEN two",)),
        ("spans that are blocks do not", "<span style=display:block>SEEN</span><span style=display:block>two</span>", ("SEEN two",)),
        ("blanks are one", "<p>SEEN  \n\t two", ("SEEN two",)),
        ("blanks of preformatted text", "<pre>SEEN\n  two</pre>", ("SEEN two",)),
        ("soft hyphens are none", "<p>SE&shy;EN", None),
        ("fillers are none", "<p>SE&#8203;EN", None),
        ("table in a table", "<table><tr><td><table><tr><td>SEEN</table></table>", None),
        ("text in a table outside of cells", "<table>SEEN<tr><td>x</table>", None),
        ("list", "<ul><li>SEEN<li>two</ul>", ("SEEN", "two")),
        ("definitions", "<dl><dt>SEEN<dd>two</dl>", ("SEEN two",)),
        ("quote", "<blockquote>SEEN</blockquote>", None),
        ("heading", "<h1>SEEN</h1>", None),
        ("caption", "<table><caption>SEEN</caption><tr><td>x</table>", None),
        ("unknown element", "<foo>SEEN</foo>", None),
        ("element with a namespace", "<o:p>SEEN</o:p>", None),
        ("ruby", "<ruby>SEEN<rt>x</ruby>", None),
        ("unclosed elements", "<p><b><i>SEEN", None),
        ("crossed elements", "<b><p>SEEN</b></p>", None),
        ("script that ends late", "<script>var a = '</scr' + 'ipt>';</script>SEEN", None)):
    add(NAME, HTML, SEEN or ("SEEN",))

# qva report: all about a print in one HTML file.
. "$(dirname "$0")/../support/shell_support.sh"

cp photo.exr 'a<b>&"c".exr'
expect 0 "" report 'a<b>&"c".exr' -o report.html -q --profile printer.icc
python3 - <<'END' || fail "the report is not what it should be"
import base64, html.parser, re, struct
text = open("report.html", encoding="utf-8").read()

class Reader(html.parser.HTMLParser):
    void = {"meta", "link", "img", "input", "line"}
    def __init__(self):
        super().__init__()
        self.open, self.images, self.data = [], {}, ""
    def handle_starttag(self, tag, attributes):
        values = dict(attributes)
        if tag == "img":
            assert values["alt"] and values["src"].startswith("data:image/png;base64,")
            self.images[values["class"]] = base64.b64decode(values["src"].split(",")[1],
                                                            validate=True)
        if tag not in self.void:
            self.open.append(tag)
    def handle_startendtag(self, tag, attributes):
        pass
    def handle_endtag(self, tag):
        assert self.open.pop() == tag, tag
    def handle_data(self, data):
        self.data += data

reader = Reader()
reader.feed(text)
assert reader.open == []
assert set(reader.images) == {"before", "after", "proof", "map"}
for name, png in reader.images.items():
    assert png[:8] == b"\x89PNG\r\n\x1a\n", name
    assert struct.unpack(">2I", png[16:24]) == (48, 32), name
# Nothing is asked of anybody else, and a file's name is only text.
assert not re.search(r'(src|href)="(?!data:)', text)
assert "http" not in text and 'a<b>&"c".exr' in reader.data and "a<b>" not in text
assert reader.data.count("% above 10") == 1
for words in ("Found and chosen", "handed over", "paper white", "delta E 2000", "Remarks"):
    assert words in reader.data, words
END
expect 0 "" report photo.exr -o again.html -q --profile printer.icc --threads 3
expect 0 "" report photo.exr -o once.html -q --profile printer.icc --threads 1
cmp -s again.html once.html || fail "threads change the report"

expect 0 "" print photo.exr -o print.tif -q --profile printer.icc
echo old >old.html
for case in "3|is a result: the report is made of the photograph|print.tif" "3|cut: |cut" \
    "5|damaged.icc: the profile is damaged|photo.exr --profile damaged.icc" \
    "4|old.html: is there already|photo.exr --no-clobber"; do
    head -c 300 photo.exr >cut
    # shellcheck disable=SC2086
    expect "${case%%|*}" "$(echo "$case" | cut -d'|' -f2)" report ${case##*|} -o old.html -q
    [ "$(cat old.html)" = old ] || fail "the old file changed: $case"
    [ -z "$(find . -name '.qva-*')" ] || fail "a temporary stayed: $case"
done
expect 2 "must end in .html" report photo.exr -o report.txt
finish

# A report in a browser: it shows its pictures, the slider moves, nothing is said on the console.
#   bash report_browser_test.sh QVA MAKE_SAMPLES CHROMIUM
chromium=$3
. "$(dirname "$0")/../support/shell_support.sh"

expect 0 "" report photo.exr -o report.html -q --profile press.icc
# What a visitor would do, and what is to be seen then, written where the dump shows it.
cat >visit.html <<'END'
<script>
addEventListener('load', () => {
  const told = [];
  const at = () => getComputedStyle(document.querySelector('.compare')).getPropertyValue('--at');
  for (const image of document.images) told.push(image.className + ' ' + image.naturalWidth);
  told.push('start ' + at());
  slider.value = 20;
  slider.dispatchEvent(new Event('input'));
  told.push('keys ' + at(), slider.getAttribute('aria-valuetext'));
  const box = document.querySelector('.compare').getBoundingClientRect();
  const press = {clientX: box.left + box.width * 0.75, clientY: box.top + 5, buttons: 1, bubbles: true};
  document.querySelector('.after').dispatchEvent(new PointerEvent('pointerdown', press));
  told.push('drag ' + at() + ' ' + slider.value);
  told.push('wide ' + (document.documentElement.scrollWidth <= innerWidth));
  document.body.setAttribute('data-told', told.join('; '));
});
</script>
END
{ sed 's|</body>||; s|</html>||' report.html; cat visit.html; echo '</body></html>'; } >visited.html
for width in 390 1200; do
    timeout 100 "$chromium" --headless --no-sandbox --disable-gpu --disable-quic --no-first-run \
        --disable-background-networking --disable-component-update --disable-sync \
        --user-data-dir="$folder/profile" --enable-logging=stderr --window-size=$width,900 \
        --virtual-time-budget=3000 --dump-dom "file://$folder/visited.html" >dom.txt 2>log.txt
    grep -o 'data-told="[^"]*"' dom.txt >told.txt || fail "the page did not load: $(tail -3 log.txt)"
    for text in "before 48; after 48; proof 48; map 48" "start 50%" "keys 20%" \
        "20 percent cut, the rest printed" "drag 75% 75" "wide true"; do
        grep -qF "$text" told.txt || fail "at $width pixels '$text' is not to be seen: $(cat told.txt)"
    done
    grep "CONSOLE" log.txt && fail "something is said on the console"
done
finish

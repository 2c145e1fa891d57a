# Opens the page that `zem profile --html` wrote in headless Chromium, and
# checks that its script drew one bar per span of the trace, and that a
# screenshot can be taken. Where Chromium isn't installed it says so, and the
# test's SKIP_REGULAR_EXPRESSION marks it skipped. -DOUT: where check_profile
# left the page and the number of spans.
find_program(CHROMIUM NAMES chromium chromium-browser google-chrome)
if(NOT CHROMIUM)
  message("Chromium not found: skipped")
  return()
endif()
file(READ ${OUT}/profile.bars bars)
file(REMOVE_RECURSE ${OUT}/chromium-profile ${OUT}/profile.png)
set(flags --headless --no-sandbox --disable-gpu --disable-quic --no-first-run --disable-background-networking
          --disable-component-update --disable-sync --user-data-dir=${OUT}/chromium-profile --window-size=1200,400)
execute_process(COMMAND ${CHROMIUM} ${flags} --dump-dom file://${OUT}/profile.html
  RESULT_VARIABLE status OUTPUT_VARIABLE dom ERROR_QUIET TIMEOUT 90)
if(NOT dom MATCHES "data-bars=\"${bars}\"")
  message(FATAL_ERROR "the page did not draw ${bars} bars (status ${status}):\n${dom}")
endif()
execute_process(COMMAND ${CHROMIUM} ${flags} --screenshot=${OUT}/profile.png file://${OUT}/profile.html
  RESULT_VARIABLE status OUTPUT_QUIET ERROR_QUIET TIMEOUT 90)
set(size 0)
if(EXISTS ${OUT}/profile.png)
  file(SIZE ${OUT}/profile.png size)
endif()
if(NOT status EQUAL 0 OR size LESS 2000)
  message(FATAL_ERROR "no screenshot of the page (status ${status}, ${size} bytes)")
endif()
file(REMOVE_RECURSE ${OUT}/chromium-profile)

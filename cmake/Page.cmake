# The pages: Resources/sticky/ (one note, a frame and its parts) and Resources/markdown.html (the
# one page that renders Markdown for every note, with markdown-it and DOMPurify
# inlined), each with its script pinned by hash in its Content-Security-Policy.
# The libraries come from the npm registry at the versions package-lock.json
# pins; they are installed into the build folder, so the source tree stays clean.

find_program(NODE_EXECUTABLE node REQUIRED)
find_program(NPM_EXECUTABLE npm REQUIRED)

set(MARROWLEAF_PAGE_NPM_DIR ${CMAKE_BINARY_DIR}/page-npm)
set(MARROWLEAF_PAGE_NPM_STAMP ${MARROWLEAF_PAGE_NPM_DIR}/installed.stamp)
set(MARROWLEAF_PAGE ${CMAKE_BINARY_DIR}/Resources/sticky.html)
set(MARROWLEAF_MARKDOWN_PAGE ${CMAKE_BINARY_DIR}/Resources/markdown.html)

add_custom_command(
  OUTPUT ${MARROWLEAF_PAGE_NPM_STAMP}
  COMMAND ${CMAKE_COMMAND} -E make_directory ${MARROWLEAF_PAGE_NPM_DIR}
  COMMAND ${CMAKE_COMMAND} -E copy_if_different
          ${CMAKE_SOURCE_DIR}/package.json ${CMAKE_SOURCE_DIR}/package-lock.json ${MARROWLEAF_PAGE_NPM_DIR}
  COMMAND ${NPM_EXECUTABLE} ci --no-audit --no-fund --prefix ${MARROWLEAF_PAGE_NPM_DIR}
  COMMAND ${CMAKE_COMMAND} -E touch ${MARROWLEAF_PAGE_NPM_STAMP}
  DEPENDS ${CMAKE_SOURCE_DIR}/package.json ${CMAKE_SOURCE_DIR}/package-lock.json
  COMMENT "Installing the note page's libraries (npm ci)"
  VERBATIM)

# The note page's frame and the parts it joins in, in the frame's folder.
set(MARROWLEAF_NOTE_PAGE_PARTS
  page.html
  style.css
  state.js
  values.js
  text-rules.js
  times.js
  rendering.js
  saving.js
  editing.js
  clipboard.js
  colour.js
  snooze-menu.js
  menus.js
  events.js
  app-calls.js
  start.js)
list(TRANSFORM MARROWLEAF_NOTE_PAGE_PARTS PREPEND ${CMAKE_SOURCE_DIR}/Resources/sticky/)

# Builds a page of the given kind (note or markdown) from `template` into the
# build folder; the remaining arguments are the files it is made of.
function(marrowleaf_build_page template kind out description)
  add_custom_command(
    OUTPUT ${out}
    COMMAND ${NODE_EXECUTABLE} ${CMAKE_SOURCE_DIR}/scripts/build-page.mjs
            --template ${template} --kind ${kind}
            --modules ${MARROWLEAF_PAGE_NPM_DIR}/node_modules
            --out ${out}
    DEPENDS ${ARGN} ${CMAKE_SOURCE_DIR}/scripts/build-page.mjs ${MARROWLEAF_PAGE_NPM_STAMP}
    COMMENT "Building ${description}"
    VERBATIM)
endfunction()

marrowleaf_build_page(${CMAKE_SOURCE_DIR}/Resources/sticky/page.html note ${MARROWLEAF_PAGE} "the note page"
  ${MARROWLEAF_NOTE_PAGE_PARTS})
marrowleaf_build_page(${CMAKE_SOURCE_DIR}/Resources/markdown.html markdown ${MARROWLEAF_MARKDOWN_PAGE}
  "the Markdown page" ${CMAKE_SOURCE_DIR}/Resources/markdown.html)

add_custom_target(marrowleaf_page ALL DEPENDS ${MARROWLEAF_PAGE} ${MARROWLEAF_MARKDOWN_PAGE})
add_dependencies(marrowleaf marrowleaf_page)

install(FILES ${MARROWLEAF_PAGE} ${MARROWLEAF_MARKDOWN_PAGE} DESTINATION ${CMAKE_INSTALL_DATADIR}/marrowleaf)

# The page script's pure rules, tested with Node's own test runner.
set(MARROWLEAF_PAGE_TESTS
  tests/page/textRules.test.mjs
  tests/page/times.test.mjs)
list(TRANSFORM MARROWLEAF_PAGE_TESTS PREPEND ${CMAKE_SOURCE_DIR}/)
add_test(NAME page_script COMMAND ${NODE_EXECUTABLE} --test ${MARROWLEAF_PAGE_TESTS})
set_tests_properties(page_script PROPERTIES LABELS unit)

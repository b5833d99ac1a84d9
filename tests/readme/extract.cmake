# Writes the first ```c block of README to EXAMPLE and the ```text block behind it to EXPECTED.
file(READ ${README} text)

# Cuts `text` behind the first block of the language and leaves the block in `block`.
macro(take_block language)
  set(open "\n```${language}\n")
  string(FIND "${text}" "${open}" begin)
  if(begin EQUAL -1)
    message(FATAL_ERROR "${README} has no ```${language} block where one is wanted")
  endif()
  string(LENGTH "${open}" length)
  math(EXPR begin "${begin} + ${length}")
  string(SUBSTRING "${text}" ${begin} -1 text)
  string(FIND "${text}" "\n```\n" end)
  string(SUBSTRING "${text}" 0 ${end} block)
  string(SUBSTRING "${text}" ${end} -1 text)
endmacro()

take_block(c)
file(WRITE ${EXAMPLE} "${block}\n")
take_block(text)
file(WRITE ${EXPECTED} "${block}\n")

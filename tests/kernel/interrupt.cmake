# Ctrl-C at the talvo prompt (a pseudo-terminal driven by a Python script):
# long computations stop with "interrupted" and the host goes on.
add_test(NAME talvo.interrupt
  COMMAND ${PYTHON3} ${CMAKE_CURRENT_LIST_DIR}/interrupt.py $<TARGET_FILE:talvo> $<TARGET_FILE:statsmp>)
set_tests_properties(talvo.interrupt PROPERTIES TIMEOUT 300)

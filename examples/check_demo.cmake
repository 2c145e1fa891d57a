# Runs the demo and checks that its output tells what it should: the eager
# beans made at load, the wiring, both receipts and the exit methods at
# Reset. Called by the CTest test examples.demo with -DDEMO=<the executable>
# and, in a cross build, -DEMULATOR=<the program that runs it>.
# It runs from a folder other than its own: the documents find the class
# library beside themselves, not in the current directory.
execute_process(COMMAND ${EMULATOR} ${DEMO} WORKING_DIRECTORY ${CMAKE_CURRENT_LIST_DIR}
  OUTPUT_VARIABLE output ERROR_VARIABLE errors RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "demo failed (${result}):\n${errors}\n${output}")
endif()

set(expected
  "[catalog] Corner Shop opens with 5 products (room for 100)"
  "[money-format] amounts are written like EUR 1234.50"
  "[till-1] till number 1 open"
  "[till-2] till number 2 open"
  "a singleton, so asking again gives the same object: yes"
  "not a singleton, so asking again gives a new basket: yes"
  "till-2 (from a <for> loop, told its name \"till-2\")"
  "cash rounded to EUR 0.05 by an inner bean"
  "card: the AcmePay terminal, made by the factory bean \"payments\""
  "tax-table: defined: yes; given to the host: no"
  "price rules: 4 services of shop::IPriceRule"
  "1. 10% off Board Games (\"BOARD GAMES WEEK\")"
  "2. 10% off Books (\"BOOKS WEEK\")"
  "3. EUR 1.50 off baskets of 5 items or more"
  "4. VAT included: 19%, Books 7%"
  "| Paid by card (AcmePay)         EUR 54.27"
  "| Paid in cash                    EUR 9.30"
  "2 sales, 9.30 in cash, 54.27 by card"
  "[card] AcmePay disconnected after 1 payment(s), fees EUR 0.81"
  "[catalog] Corner Shop closes"
  "the container is empty now: catalog defined: no")
foreach(line IN LISTS expected)
  string(FIND "${output}" "${line}" at)
  if(at EQUAL -1)
    message(FATAL_ERROR "demo output lacks \"${line}\":\n${output}")
  endif()
endforeach()

# The exit methods run at Reset, not before.
string(FIND "${output}" "5. Reset" reset)
string(FIND "${output}" "[catalog] Corner Shop closes" closed)
if(closed LESS reset)
  message(FATAL_ERROR "the catalog closed before Reset:\n${output}")
endif()
message(STATUS "demo output as expected")

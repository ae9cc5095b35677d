# Builds the reference documentation into OUTPUT_DIR; fails on any warning, and when nothing came out.
file(READ "${SOURCE_DIR}/docs/Doxyfile" doxyfile)
file(WRITE "${OUTPUT_DIR}/Doxyfile" "${doxyfile}\nOUTPUT_DIRECTORY = ${OUTPUT_DIR}\n")
execute_process(COMMAND "${DOXYGEN}" "${OUTPUT_DIR}/Doxyfile" WORKING_DIRECTORY "${SOURCE_DIR}"
                RESULT_VARIABLE status OUTPUT_VARIABLE text ERROR_VARIABLE text)
if(NOT status EQUAL 0 OR NOT text STREQUAL "")
  message(FATAL_ERROR "doxygen ended with ${status}:\n${text}")
endif()
file(READ "${OUTPUT_DIR}/html/flows_8h.html" flows)
if(NOT flows MATCHES "QIR_Activate_FCB")
  message(FATAL_ERROR "the operations are missing from the reference documentation")
endif()

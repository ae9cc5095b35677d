# The checks behind a public call, and the sequences of calls; the fuzzer and its tests are built of them.
set(fuzz_check_sources allocated_headers.cpp asked.cpp changes.cpp
  effects.cpp effects_flows.cpp effects_requests.cpp effects_system.cpp effects_tables.cpp
  hardware.cpp invariants.cpp past.cpp request_lists.cpp stored_requests.cpp)
set(fuzz_sequence_sources sequence.cpp
  public_calls_flows.cpp public_calls_requests.cpp public_calls_system.cpp public_calls_tables.cpp)
list(TRANSFORM fuzz_check_sources PREPEND ${PROJECT_SOURCE_DIR}/fuzz/)
list(TRANSFORM fuzz_sequence_sources PREPEND ${PROJECT_SOURCE_DIR}/fuzz/)

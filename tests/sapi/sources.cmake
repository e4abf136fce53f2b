# Sources of the SAPI tests, shared by the Linux build (tests/sapi) and the
# Windows cross build (tests/sapi/windows).
set(KSR_SAPI_TEST_DIR ${CMAKE_CURRENT_LIST_DIR})

set(KSR_SAPI_DOUBLES_SOURCES
  ${KSR_SAPI_TEST_DIR}/doubles/fake_com.cpp
  ${KSR_SAPI_TEST_DIR}/doubles/fake_recognizer.cpp
  ${KSR_SAPI_TEST_DIR}/doubles/fake_context.cpp
  ${KSR_SAPI_TEST_DIR}/doubles/fake_grammar.cpp
  ${KSR_SAPI_TEST_DIR}/doubles/grammar_words.cpp
  ${KSR_SAPI_TEST_DIR}/doubles/grammar_walk.cpp
  ${KSR_SAPI_TEST_DIR}/doubles/spoken_phrase.cpp
  ${KSR_SAPI_TEST_DIR}/doubles/fake_result.cpp
  ${KSR_SAPI_TEST_DIR}/doubles/fake_token.cpp
  ${KSR_SAPI_TEST_DIR}/doubles/fake_class_factory.cpp
  ${KSR_SAPI_TEST_DIR}/doubles/sapi_world.cpp
  ${KSR_SAPI_TEST_DIR}/doubles/com_memory.cpp)

# Test programs that run on both systems: name and sources.
set(KSR_SAPI_TESTS test_sapi_support test_sapi_engine test_sapi_grammar test_sapi_manager test_sapi_patterns)
# Those whose cases share no process-wide state (the grammar and manager
# tests count on ids starting afresh): each runs as one test, in one process.
set(KSR_SAPI_ONE_PROCESS_TESTS test_sapi_support test_sapi_engine)
set(test_sapi_support_SOURCES
  ${KSR_SAPI_TEST_DIR}/test_utf16.cpp
  ${KSR_SAPI_TEST_DIR}/test_com_ptr.cpp
  ${KSR_SAPI_TEST_DIR}/test_sapi_declarations.cpp
  ${KSR_SAPI_TEST_DIR}/test_com_runtime.cpp
  ${KSR_SAPI_TEST_DIR}/test_spoken_phrases.cpp)
set(test_sapi_engine_SOURCES
  ${KSR_SAPI_TEST_DIR}/test_engine_setup.cpp
  ${KSR_SAPI_TEST_DIR}/test_engine_state.cpp
  ${KSR_SAPI_TEST_DIR}/test_engine_events.cpp)
set(test_sapi_grammar_SOURCES
  ${KSR_SAPI_TEST_DIR}/test_grammar.cpp)
set(test_sapi_manager_SOURCES
  ${KSR_SAPI_TEST_DIR}/test_manager_setup.cpp
  ${KSR_SAPI_TEST_DIR}/test_manager_registry.cpp
  ${KSR_SAPI_TEST_DIR}/test_manager_routing.cpp)
# Commands with arguments: the double's rules of states, the grammar's
# pattern rules and the manager's results.
set(test_sapi_patterns_SOURCES
  ${KSR_SAPI_TEST_DIR}/test_spoken_patterns.cpp
  ${KSR_SAPI_TEST_DIR}/test_grammar_patterns.cpp
  ${KSR_SAPI_TEST_DIR}/test_manager_patterns.cpp)

# What scripts/test runs, with one summary: copied to build/, it is what ctest takes for a build tree that
# has the other trees in it. Not in any of them: the coverage of the unit tests, valgrind, and the proofs that
# need no sanitizer.
subdirs(asan tsan windows-x64)
add_test(coverage ../scripts/coverage)
add_test(valgrind ../scripts/valgrind)
set_tests_properties(coverage valgrind PROPERTIES RESOURCE_LOCK coverage_tree TIMEOUT 900 COST 500)
foreach(proof schedule sequence)
  add_test(proof.${proof}s coverage/tests/proof/every_${proof}_test)
endforeach()
add_test(proof.soak coverage/tests/proof/soak_test)

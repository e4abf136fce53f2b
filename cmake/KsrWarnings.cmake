# Project-wide warning set, applied per target so that third-party code
# (GoogleTest, moc output) is not held to it.
function(ksr_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra)
endfunction()

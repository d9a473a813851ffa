# Base64 of the SHA-256 of a text, as a content security policy has it.
function(morvik_hash text result)
  string(SHA256 hex "${text}")
  set(alphabet ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/)
  set(base64)
  foreach(position RANGE 0 63 3) # 12 bits each
    string(SUBSTRING "${hex}00" ${position} 3 digits)
    math(EXPR high "0x${digits} >> 6")
    math(EXPR low "0x${digits} & 63")
    foreach(bits ${high} ${low})
      string(SUBSTRING ${alphabet} ${bits} 1 character)
      string(APPEND base64 ${character})
    endforeach()
  endforeach()
  string(REGEX REPLACE ".$" "=" base64 ${base64})
  set(${result} ${base64} PARENT_SCOPE)
endfunction()

# Reads a file into a variable, and its hash as an element of a page, which begins with a newline, into
# another. Changes of the file configure the build again.
macro(morvik_embed file variable)
  file(READ ${file} ${variable})
  morvik_hash("\n${${variable}}" ${variable}_hash)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
endmacro()

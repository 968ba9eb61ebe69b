# No part pins itself in memory with a GNU-unique symbol, and none exports what the typed layer has compiled into it.
foreach(library IN LISTS LIBRARIES)
  execute_process(
    COMMAND ${READELF} --dyn-syms --wide ${library}
    OUTPUT_VARIABLE table
    COMMAND_ERROR_IS_FATAL ANY)
  string(REPLACE ";" "," table "${table}")
  string(REGEX MATCHALL "[^\n]+" lines "${table}")
  set(seen 0)
  foreach(line IN LISTS lines)
    if(line MATCHES " UNIQUE ")
      message(SEND_ERROR "${library} can't be unloaded: ${line}")
    elseif(line MATCHES " UND _ZN10foundation5state12registerType")
      set(seen 1)
    elseif(line MATCHES " _ZN10foundation5state" AND NOT line MATCHES " UND ")
      message(SEND_ERROR "${library} exports ${line}")
    endif()
  endforeach()
  if(NOT seen)
    message(SEND_ERROR "${library} doesn't use the typed layer: nothing was looked at.")
  endif()
endforeach()

# Formulas on the command line.
cmake_minimum_required(VERSION 3.25)
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})
include(${CMAKE_CURRENT_LIST_DIR}/expect.cmake)

expect(STATUS 0 OUT "usage: qv eval .*" ARGS eval --help)
expect(STATUS 0 OUT "usage: qv eval .*" ARGS help eval)
expect(STATUS 0 OUT "0.3333333333333333\n-1\n" ARGS eval 1/3 -3+2)
expect(STATUS 0 OUT "5\n" ARGS eval --set "b = a+1" "sqrt(a**2+b**2)" --set a=3)
expect(STATUS 0 OUT "-5\n" ARGS eval -- -5)
expect(STATUS 0 OUT "\\(0,2\\)\n-4\n" ARGS eval --complex "sqrt(-4)" "sqrt(-4)**2")

# A mistake is shown where it is, and does not keep the other formulas from being evaluated.
expect(STATUS 1 OUT "7\n" ERR "qv: undefined variable \"wdth\"\n2 \\* wdth\n    \\^~~~\ndid you mean width\\?\n"
       ARGS eval --set width=3 "2 * wdth" 2*width+1)
expect(STATUS 1 ERR "qv: b: parse error\n2\\*-3\n  \\^\n" ARGS eval --set b=2*-3 b+1 --set c=b)
expect(STATUS 1 ERR "qv: circular definition: a -> b -> a\n" ARGS eval --set a=b --set b=a --set c=a 1)
expect(STATUS 1 ERR "qv: \"a\" is defined twice\n" ARGS eval --set a=1 --set a=2 a)
expect(STATUS 1 ERR "qv: \"a\" is defined twice\n" ARGS eval --set a=1 --sweep a=1:2:1 a)
expect(STATUS 1 ERR "qv: \"_PI\" is a constant and cannot be defined\n" ARGS eval --set _PI=3 1)
expect(STATUS 1 ERR "qv: \"inf\" is a number and cannot be defined\n" ARGS eval --set inf=3 1)

# A sweep reaches its end, and its values are the decimal numbers that were meant.
expect(STATUS 0 OUT "x,\"max\\(x,y\\)\"\n0,0.25\n0.1,0.25\n0.2,0.25\n0.3,0.3\n" 
       ARGS eval "max(x,y)" --csv --sweep x=0:0.3:0.1 --set y=1/4)
expect(STATUS 0 OUT "  x +2\\*x\n  1 +2\n0.6 +1.2\n0.2 +0.4\n" ARGS eval 2*x --sweep x=n:0.1:-0.4 --set n=1)
expect(STATUS 0 OUT ".*\n3.141592653589793,[^\n]*\n" ARGS eval "sin(x)" --csv --sweep x=0:_PI:_PI/7)
expect(STATUS 0 OUT "x,x\n6,6\n8,8\n" ARGS eval x --csv --sweep "x=sum(i=1:3,i):8:2")
expect(STATUS 0 OUT "x +1\n5 +1\n" ARGS eval 1 --sweep x=5:5:-1)
expect(STATUS 0 OUT "{\"columns\": \\[\"x\", \"re\\(j\\*x\\)\", \"im\\(j\\*x\\)\"],\n \"rows\": \\[\n  \\[1, 0, 1],\n  \\[2, 0, 2]]}\n"
       ARGS eval --complex --set "j=sqrt(-1)" j*x --sweep x=1:2:1 --json)
expect(STATUS 1 OUT ".*\\[0, null],\n  \\[1, 1]]}\n"
       ERR "qv: division by zero, at x = 0\n1/x\n \\^\n" ARGS eval 1/x --sweep x=-1:1:1 --json)
expect(STATUS 1 OUT "x,sqrt\\(-x\\)\n0,-?0\n1,nan\n2,nan\n3,nan\n"
       ERR "qv: negative argument in sqrt, at x = 1 and 2 more\n.*"
       ARGS eval "sqrt(-x)" --sweep x=0:3:1 --csv)
expect(STATUS 1 OUT "x,x,\"max\\(y,0\\)\"\n-1,-1,0\n0,0,nan\n1,1,1\n" ERR "qv: y: division by zero, at x = 0\n1/x\n \\^\n"
       ARGS eval --csv x "max(y,0)" --sweep x=-1:1:1 --set y=1/x)
expect(STATUS 1 OUT "" ERR "qv: y: division by zero, at x = 1 and 1 more\n.*"
       ARGS eval x y --sweep x=1:2:1 --set y=1/0*x)
expect(STATUS 1 ERR "qv: steps of 1 do not lead from 5 to 2\n" ARGS eval x --sweep x=5:2:1)
expect(STATUS 1 ERR "qv: the step of a sweep must not be 0\n" ARGS eval x --sweep x=5:2:0)
expect(STATUS 1 ERR "qv: [^\n]* must be finite\n" ARGS eval x --sweep x=0:inf:1)
expect(STATUS 1 ERR "qv: [^\n]* must be real\n" ARGS eval x --complex --sweep "x=0:sqrt(-1):1")
expect(STATUS 1 ERR "qv: the sweep has too many values, 1e\\+07 is the most\n" ARGS eval x --sweep x=0:1:1e-300)

# Charts.
expect(STATUS 0 ARGS eval "sin(x)" "cos(x)" --sweep x=0:6:0.1 --plot waves.svg)
file(READ ${WORK}/waves.svg chart)
if(NOT chart MATCHES "^<svg .*<path.*<path.*sin\\(x\\).*cos\\(x\\).*</svg>\n$")
    message(SEND_ERROR "no chart:\n${chart}")
endif()
expect(STATUS 1 OUT "x,x\n.*" ERR "qv: could not write \"no/such.svg\": [^\n]+\n"
       ARGS eval x --sweep x=0:1:1 --csv --plot no/such.svg)

# The calculator. A definition that fails leaves the one before it.
file(WRITE ${WORK}/lines "a = 3\r\n\n// twice\nb = 2*a\nb\na = 10\nb\na = b\na == 10\nb = 1+\nb + nothing\n")
set(wrong "qv: circular definition: a -> b -> a\nqv: b: parse error\n1\\+\n \\^\nqv: undefined variable \"nothing\"\n.*")
expect(STATUS 1 OUT "6\n20\n1\n" ERR "${wrong}" INPUT lines ARGS eval)
expect(STATUS 0 OUT "" ARGS eval -)

# Wrong usage.
expect(STATUS 2 ERR ".*unknown argument --fun\n.*" ARGS eval --fun)
expect(STATUS 2 ERR ".*--set needs NAME=FORMULA\n.*" ARGS eval 1 --set)
expect(STATUS 2 ERR ".*\"a==1\" is not NAME=FORMULA\n.*" ARGS eval 1 --set a==1)
expect(STATUS 2 ERR ".*\"x=1:2\" is not NAME=LO:HI:STEP\n.*" ARGS eval 1 --sweep x=1:2)
expect(STATUS 2 ERR ".*one --sweep only\n.*" ARGS eval 1 --sweep x=1:2:1 --sweep y=1:2:1)
expect(STATUS 2 ERR ".*wrong use of --json\n.*" ARGS eval 1 --csv --json)
expect(STATUS 2 ERR ".*--plot needs --sweep\n.*" ARGS eval 1 --plot a.svg)
expect(STATUS 2 ERR ".*needs a formula.*" ARGS eval --csv)

# Definitions may stand on one another many deep, up to a limit.
foreach(depth 900 1100)
    set(chain --set a${depth}=1)
    foreach(i RANGE 1 ${depth})
        math(EXPR before "${i}-1")
        list(APPEND chain --set a${before}=a${i}+1)
    endforeach()
    set(chain_${depth} ${chain})
endforeach()
expect(STATUS 0 OUT "901\n" ARGS eval a0 ${chain_900})
expect(STATUS 1 ERR "qv: more than 1000 definitions use one another\n" ARGS eval a0 ${chain_1100})

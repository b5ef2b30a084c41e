# Materials on the command line.
cmake_minimum_required(VERSION 3.25)
file(REMOVE_RECURSE ${WORK})
file(COPY ${CMAKE_CURRENT_LIST_DIR}/material/ DESTINATION ${WORK})
file(MAKE_DIRECTORY ${WORK}/elsewhere)
file(WRITE ${WORK}/simple.mat [[
<materbase(2.21)>
BEGIN Glass
RIX_POLYX 1 1.5
RIX_POLYL 2 0 -0.01
MATLOSS_POLYL 1 2
LAMBDA_REF 1.5
LAMBDA_RANGE 0.5 2.5
TEMP_RANGE 0 400
END
BEGIN Crystal
RIX_POLYX 2 2 0.5
RIX_ANISOTROPIC dnzz = 0.25
MXPARM "dope"
EGAP 3.5
RADRECOMB 2 0 1
END
]])
include(${CMAKE_CURRENT_LIST_DIR}/expect.cmake)

expect(STATUS 0 OUT "usage: qv material .*" ARGS material --help)
expect(STATUS 0 OUT "usage: qv material .*" ARGS help material)

# What is in a file.
expect(STATUS 0 OUT "name +model +mx +lambda +T\nGlass +RIX_POLY[A-Z]* +0.5:2.5 +0:400\nCrystal +RIX_POLYX +dope\n"
       ARGS material simple.mat --list)
expect(STATUS 0 OUT "name,model,mx,mxRange,my,myRange,lambda,T\nGlass,.*,0.5:2.5,0:400\nCrystal,RIX_POLYX,dope,,,,,\n"
       ARGS material --list simple.mat --csv)
expect(STATUS 0 OUT "\\[\n {\"name\": \"Glass\", .*\"lambda\": \\[0.5, 2.5], \"T\": \\[0, 400]},\n {\"name\": \"Crystal\", .*\"mx\": \"dope\", \"mxRange\": null, .*}\n]\n"
       ARGS material simple.mat --list --json)

# Tables. What is left out is taken from the material.
expect(STATUS 0 OUT "lambda +mx +my +T +n +k +alpha +ng\n +1.5 +0 +0 +300 +1.5 +2.38[0-9]*e-05 +2 +1.515\n"
       ARGS material simple.mat Glass)
expect(STATUS 0 OUT "lambda,mx,my,T,n,ng\n1,0,0,310,1.505,1.515\n1.5,0,0,310,1.5,1.515\n"
       ARGS material simple.mat Glass --lambda 2/2:1.5:0.5 --T 310 --show n,ng --csv)
expect(STATUS 0 OUT "\\[\n {\"lambda\": 1, \"mx\": 0, \"my\": 0, \"T\": 300, \"nr\": 1.505, \"eps\": \\[2.26[0-9]*, [0-9.]*e-05]}\n]\n"
       ARGS material simple.mat Glass --lambda 1 --show nr,eps --json)

# Of a tensor the elements follow.
expect(STATUS 0 OUT "lambda,mx,my,T,n,nxx,nyy,nzz,re\\(epszz\\),im\\(epszz\\)\n1,0,0,300,2,2,2,2.25,5.0625,0\n1,1,0,300,2.5,2.5,2.5,2.75,7.5625,0\n"
       ARGS material simple.mat Crystal --lambda 1 --mx 0:1:1 --show n,epszz --csv)
expect(STATUS 0 OUT ".*\"eps\": \\[4, 0], \"epsxx\": \\[4, 0], \"epsxy\": \\[0, 0.01], \"epsyx\": \\[0, -0.01], \"epsyy\": \\[4, 0], \"epszz\": \\[4, 0]}\n]\n"
       ARGS material lab.mat Magnet --lambda 1 --show eps --json)

# What the material cannot tell is told once, and does not keep the rest from being shown.
expect(STATUS 1 OUT "lambda,mx,my,T,Chi2,n\n1,0,0,300,nan,1.505\n2,0,0,300,nan,1.495\n"
       ERR "qv: at lambda = 1 and 1 more: Chi2 undefined in material \"Glass\"\n"
       ARGS material simple.mat Glass --lambda 1:2:1 --show Chi2,n --csv)
expect(STATUS 1 OUT ".*\"n\": null}\n]\n" ERR "qv: [^\n]*Photon energy was above bandgap of AlGaAs\\(0\\)\n.*"
       ARGS material lab.mat Alloy --lambda 0.5 --show n --json)
expect(STATUS 0 OUT ".*,1.475\n" ERR "WARNING: [^\n]*0.5 to 2.5 um[^\n]*\n"
       ARGS material simple.mat Glass --lambda 3:4:1 --show n --csv)
expect(STATUS 0 OUT "lambda,mx,my,T,N,Rtsr\n1,0,0,300,2,2\n1,0,0,300,3,3\n"
       ARGS material simple.mat Crystal --lambda 1 --show Rtsr --N 2:3:1 --csv)
expect(STATUS 1 ERR "qv: Rtsr needs --N\n" ARGS material simple.mat Crystal --lambda 1 --show Rtsr)
expect(STATUS 1 ERR "qv: --lambda is needed: Crystal has no reference wavelength\n"
       ARGS material simple.mat Crystal)
expect(STATUS 1 ERR "qv: only one of --lambda and --T may run through values\n"
       ARGS material simple.mat Glass --lambda 1:2:1 --T 1:2:1)
expect(STATUS 1 ERR "qv: steps of -1 do not lead from 1 to 2\n"
       ARGS material simple.mat Glass --lambda 1:2:-1)
expect(STATUS 1 ERR "qv: undefined variable \"red\"\nred\n\\^~~\n" ARGS material simple.mat Glass --lambda red)

# Charts.
expect(STATUS 0 ARGS material simple.mat Glass --lambda 0.5:2:0.5 --show n,alpha --plot glass.svg)
file(READ ${WORK}/glass.svg chart)
if(NOT chart MATCHES "^<svg .*<path.*lambda \\(µm\\).*<path.*lambda \\(µm\\).*</svg>\n$"
   OR NOT chart MATCHES "alpha \\(1/cm\\)" OR NOT chart MATCHES "height=\"960\"")
    message(SEND_ERROR "no chart:\n${chart}")
endif()
expect(STATUS 1 ERR "qv: --plot needs [^\n]*\n" ARGS material simple.mat Glass --plot glass.svg)

# All mistakes of a file.
file(WRITE ${WORK}/wrong.mat
     "<materbase(2.21)>\nBEGIN A\nRIX_POLYX 2 1\nEND\nBEGIN B\nRIX_FOO 3\nEND\nINCLUDE no.mat\n")
expect(STATUS 1 OUT "wrong.mat:4: syntax error [^\n]*\nwrong.mat:6: [^\n]*\"RIX_FOO\"[^\n]*\nwrong.mat:8: [^\n]*no.mat[^\n]*\n"
       ARGS material wrong.mat --check)
expect(STATUS 0 OUT "simple.mat: no mistakes\n" ARGS material simple.mat --check)
expect(STATUS 1 ERR "qv: Could not find material file no.mat\n" ARGS material no.mat --check)
expect(STATUS 1 ERR "qv: Fatal error while processing .*wrong.mat: .*" ARGS material wrong.mat A)
expect(STATUS 1 ERR "qv: Error:\n Material \"glas\" not found in\n database \"[^\n]*\" \ndid you mean Glass\\?\n"
       ARGS material simple.mat glas)

# Where files are found.
expect(STATUS 0 OUT "name .*" ARGS material standard.mat --list)
file(WRITE ${WORK}/elsewhere/standard.mat "<materbase(2.21)>\nBEGIN Own\nRIX_POLYX 1 3\nEND\n")
set(ENV{QV_MATERIAL_DIR} ${WORK}/elsewhere)
expect(STATUS 0 OUT "name +model\nOwn +RIX_POLYX\n" ARGS material standard.mat --list)
expect(STATUS 0 OUT "3\n" ARGS -c "app.material(\"standard.mat\", \"Own\").nr(0, 0, 1)")

# Wrong usage.
expect(STATUS 2 ERR ".*a material file is needed\n.*" ARGS material)
expect(STATUS 2 ERR ".*the name of a material is needed.*" ARGS material simple.mat)
expect(STATUS 2 ERR ".*unknown argument Crystal\n.*" ARGS material simple.mat Glass Crystal)
expect(STATUS 2 ERR ".*unknown argument --nr\n.*" ARGS material simple.mat Glass --nr)
expect(STATUS 2 ERR ".*\"epsxw\", did you mean epsxx\\?\n.*" ARGS material simple.mat Glass --show n,epsxw)
expect(STATUS 2 ERR ".*wrong use of --list\n.*" ARGS material simple.mat --check --list)

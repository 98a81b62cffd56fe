[playlist]
File1=a.mp3
File2=
File
File3=a.mp3